// The store-independent base of the registry wrapper: one storage path, the access it was
// opened with, and the parsers that turn the text of a stored item into a boolean or a number.
#pragma once

#include <string>

#include "TesselWin32.h"
#include "Tessel/Export.h"

namespace Tessel {

// How a PersistRegistry may use its location. Held in 32 bits on every system. Only these two
// values are valid; PersistBasic keeps whatever it is given and leaves the refusal to the
// derived class.
enum StorageAccess : LONG {
    ReadOnly = 0,  // reads only; every writing operation is refused
    ReadWrite = 1, // reads and writes
};

// Holds the path and access of the last Setup. It has no notion of open or closed: that belongs
// to the derived class. Numbers are 32 bits wide whatever the platform's own long is.
class TESSEL_API PersistBasic {
public:
    // A read-only object with an empty path.
    PersistBasic();
    PersistBasic(const PersistBasic& other);
    PersistBasic& operator=(const PersistBasic& other);
    virtual ~PersistBasic();

    // The path of the last Setup, ending in a backslash unless it is empty. The pointer is
    // never null and stays valid until the path next changes.
    const wchar_t* GetPath() const;

    StorageAccess GetAccess() const;

protected:
    // Stores the access first, so that it stands even if storing the path runs out of memory
    // (OutOfMemory, without a text). Appends one backslash to a non-empty path that lacks it.
    void Setup(const wchar_t* path, StorageAccess access);

    // The parsers share one contract: `cursor` points into a terminated text and moves forward
    // in place. On success it stands on the terminator or on one of `delimiters` (null: only
    // the terminator ends the field), so that several fields can be read from one text. Blanks
    // are spaces and tabs. `name` names the item in messages; failures raise PersistencyInvalid.

    // Accepts exactly one `0` or `1` with blanks around it.
    void ParseBoolean(const wchar_t* name, const wchar_t*& cursor, bool& value, const wchar_t* delimiters) const;

    // A decimal 32-bit number, signed or unsigned. `value` takes the converted bits at once,
    // so it changes even when the text behind the number is refused afterwards.
    void ParseValue(const wchar_t* name, const wchar_t*& cursor, ULONG& value, const wchar_t* delimiters,
                    bool isSigned) const;

    // A floating-point number. With `isFloat` only the positive normal range of a float
    // passes: 0 and negative numbers are out of range. `value` changes as above.
    void ParseValue(const wchar_t* name, const wchar_t*& cursor, double& value, const wchar_t* delimiters,
                    bool isFloat) const;

private:
    StorageAccess m_access; // access of the last Setup
    std::wstring m_path;    // path of the last Setup, normalised to end in a backslash
};

} // namespace Tessel
