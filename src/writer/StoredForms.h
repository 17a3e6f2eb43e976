// The texts that the writer stores: numbers, doubles, bools and their lists, and the character
// block of a string list. What is built here must read back through the dataset's fetches.
#pragma once

#include <string>
#include <vector>

namespace Tessel::Detail {

// Written as a whole between two list items; the reader takes each of its characters as a
// separator, so that the pair makes one gap.
constexpr const wchar_t* kListSeparatorText = L",;";
constexpr const wchar_t* kTrueText = L"yes";
constexpr const wchar_t* kFalseText = L"no";

// The shortest form with 15 significant digits, as printf's %.15g gives it: 0.1 + 0.2 is "0.3",
// 1e15 is "1e+15". Follows the global locale at the time of the call.
std::wstring FormatDouble(double value);

std::wstring JoinList(const std::vector<int>& items, const std::wstring& separator);
std::wstring JoinList(const std::vector<unsigned int>& items, const std::wstring& separator);
std::wstring JoinList(const std::vector<double>& items, const std::wstring& separator);
std::wstring JoinList(const std::vector<bool>& items, const std::wstring& separator);

// Every item followed by a NUL, and one more NUL at the end.
std::vector<wchar_t> BuildMultiString(const std::vector<std::wstring>& items);

// The characters of the block that are stored, both final NULs included: the walk ends at the
// first empty item, as the reader's does, so that item and all behind it are dropped.
std::size_t StoredMultiStringLength(const std::vector<wchar_t>& block);

} // namespace Tessel::Detail
