// PersistRegistry binds a PersistBasic to one open registry key named by a full path: typed
// reads and writes of its values, removal of its sub-keys and a walk over their names.
#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "Tessel/PersistBasic.h"

namespace Tessel {

// A path begins with a root keyword (HKEY_CLASSES_ROOT, HKEY_CURRENT_CONFIG, HKEY_CURRENT_USER
// or HKCU, HKEY_LOCAL_MACHINE or HKLM, HKEY_USERS, HKEY_PERFORMANCE_DATA), matched without
// regard to case, and goes on with the sub-key behind a backslash.
//
// Copies share the key: a copy reaches the same handle as its source, and the handle is closed
// once, when the last object holding it closes or goes. An object is for one thread at a time.
class TESSEL_API PersistRegistry : public PersistBasic {
public:
    // Walks the names of the direct sub-keys of the owner's key, one level deep. It uses the
    // owner's key at each step, so the owner must outlive it; sub-keys added or removed during
    // a walk shift the platform's indices, which the walk does not notice. It never raises a
    // failure of the store: any failure ends the walk.
    class TESSEL_API iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = std::wstring;
        using difference_type = std::ptrdiff_t;
        using pointer = const std::wstring*;
        using reference = const std::wstring&;

        // The name of the current sub-key; empty in the end state.
        const std::wstring& operator*() const;
        const std::wstring* operator->() const;
        iterator& operator++();
        iterator operator++(int);
        // Equal when they walk the same object and stand at the same place; a walk that has
        // run out equals end().
        bool operator==(const iterator& other) const;
        bool operator!=(const iterator& other) const;

    private:
        friend class PersistRegistry;
        iterator(PersistRegistry* owner, bool atEnd);
        void Step();
        void MakeEnd();

        PersistRegistry* m_owner; // not owned
        DWORD m_index;            // next index to fetch; all bits set at the end
        std::wstring m_name;      // current sub-key; empty at the end
    };

    // A closed, read-only object with an empty path.
    PersistRegistry();
    // Opens `path` as Open does; a failure leaves the constructor with Open's exception.
    PersistRegistry(const wchar_t* path, StorageAccess access);
    // Opens `subPath` below the parent's path text with a handle of its own. Only the parent's
    // path counts: its key is not used, and it may be closed. A null `subPath` opens the
    // parent's key again.
    PersistRegistry(const PersistRegistry& parent, const wchar_t* subPath, StorageAccess access);
    PersistRegistry(const PersistRegistry& other);
    PersistRegistry& operator=(const PersistRegistry& other);
    ~PersistRegistry() override;

    // Closes what the object holds, then opens the key. Path and access are stored before the
    // key is tried, so an object that fails to open holds the new path and is closed. A null
    // path raises InvalidArg and keeps the old path.
    void Open(const wchar_t* path, StorageAccess access);
    // Makes the key if it is missing, then opens it as Open does. An existing key keeps its
    // contents. A null path is refused as Open refuses it.
    void Create(const wchar_t* path, StorageAccess access, SECURITY_ATTRIBUTES* securityAttributes);
    // Lets go of the key; path and access stay. Copies that share the key keep it open.
    void Close();
    // The open key, owned by the object (and its copies); null while closed.
    HKEY GetKey() const;

    // Each Read gives true when it delivered the value and false when the item is absent and
    // `optional` is true; absence with `optional` false raises PersistencyNotFound. A present
    // item of a type the overload does not take raises PersistencyOtherType either way.

    // REG_DWORD, or REG_SZ holding one signed decimal number.
    bool Read(const wchar_t* name, LONG& value, bool optional) const;
    // REG_DWORD only.
    bool Read(const wchar_t* name, ULONG& value, bool optional) const;
    // Text only; the value must lie in the positive normal range of a float.
    bool Read(const wchar_t* name, float& value, bool optional) const;
    // Text only.
    bool Read(const wchar_t* name, double& value, bool optional) const;
    // REG_SZ or REG_EXPAND_SZ; with `expand` the %NAME% references of either are expanded.
    bool Read(const wchar_t* name, std::wstring& value, bool expand, bool optional) const;
    // Text split at commas. The list is emptied first, whatever the outcome.
    bool Read(const wchar_t* name, std::vector<std::wstring>& value, bool optional) const;
    // REG_DWORD, or REG_BINARY of at most 4 bytes: true when the number is not 0.
    bool Read(const wchar_t* name, bool& value, bool optional) const;
    // REG_BINARY of minSize to maxSize bytes. All maxSize bytes of `buffer` are zeroed first,
    // so the zeros behind the data are the only sign of how much was stored.
    bool Read(const wchar_t* name, unsigned char* buffer, size_t minSize, size_t maxSize, bool optional) const;
    // Text into `capacity` characters, terminator included; the rest of the buffer is zeroed.
    bool Read(const wchar_t* name, wchar_t* buffer, size_t capacity, bool expand, bool optional) const;

    // Each Write creates or replaces the value, its type included, under the open key; none of
    // them makes a key. A closed object raises PersistencyClosed, a read-only one
    // PersistencyDenied, and the store is left as it was.

    // REG_SZ, or REG_EXPAND_SZ with `expandable` (references are stored unexpanded).
    void Write(const wchar_t* name, const wchar_t* value, bool expandable = false) const;
    // The text up to its first NUL character, as above.
    void Write(const wchar_t* name, const std::wstring& value, bool expandable = false) const;
    // Decimal text (REG_SZ), not a dword.
    void Write(const wchar_t* name, LONG value) const;
    // REG_DWORD.
    void Write(const wchar_t* name, ULONG value) const;
    // Text with 6 significant digits, in the current locale's notation.
    void Write(const wchar_t* name, float value) const;
    // Text with 15 significant digits, in the current locale's notation.
    void Write(const wchar_t* name, double value) const;
    // REG_BINARY of `size` bytes.
    void Write(const wchar_t* name, unsigned char* data, size_t size) const;
    // REG_DWORD 1 or 0.
    void Write(const wchar_t* name, bool value) const;

    // Deletes the sub-key `subKey` of the open key; without `recursive` it must have no
    // sub-keys of its own. There is no operation that deletes a value.
    void Remove(const wchar_t* subKey, bool recursive) const;

    iterator begin();
    iterator end();

private:
    HKEY ParseRoot(const wchar_t*& path) const;
    DWORD GetAccessMask(StorageAccess access) const;
    void Validate(bool forWriting) const;
    bool GetType(const wchar_t* name, bool optional, DWORD& type, DWORD& size) const;
    void SetValue(const wchar_t* name, DWORD type, const BYTE* data, DWORD size) const;

    // The open key, shared among copies and closed when the last of them lets go.
    std::shared_ptr<std::remove_pointer_t<HKEY>> m_key;
};

} // namespace Tessel
