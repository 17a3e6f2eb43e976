// The text of .reg files: the bytes of a file as UTF-16 units, whatever its encoding, and the
// conversions between those units, the wide strings of the registry API and value data.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "TesselWin32.h"

namespace Tessel::Reg::RegFileText {

// The file's text as UTF-16: after a UTF-16LE byte-order mark as it stands, after a UTF-8 one
// as UTF-8, and without one as 8-bit text (see DecodeEightBit). Throws RegFileError on line 1
// for an encoding that can't be read.
std::u16string DecodeFile(const BYTE* bytes, size_t size);

// 8-bit text as a Windows machine wrote it: UTF-8 when the bytes are valid UTF-8, else
// Windows-1252, whose five unassigned bytes stand for the control characters of their value.
std::u16string DecodeEightBit(const BYTE* bytes, size_t size);

// Strict UTF-8: false for overlong forms, surrogates, code points past U+10FFFF and cut-off
// sequences.
bool DecodeUtf8(const BYTE* bytes, size_t size, std::u16string& out);

// UTF-16 units as value data: little-endian bytes.
std::vector<BYTE> DataFromUnits(std::u16string_view units);
// UTF-16 units as the wide text of the registry API.
std::wstring WideFromUnits(std::u16string_view units);

} // namespace Tessel::Reg::RegFileText
