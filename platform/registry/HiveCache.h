// What one process remembers of a hive between calls, key by key: the key's record, its values
// and children as they were looked up, and its lists. The hive decides when the cache may be
// read; a change from the hive's change record drops exactly what it names.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "registry/Records.h"

namespace TesselPlatform::Registry {

// Compares a name with a fold (RegistryText.h) in the store's order, without folding the name
// into a new string: negative, zero or positive as name's fold sorts before, with or after fold.
int CompareFolded(const Utf16& name, const std::string& fold);

struct CachedValue {
    bool present = false; // false: known to have no such value
    ValueRecord value;
};

struct CachedKey {
    KeyRecord record;
    bool known = false;   // record holds what the database last said
    bool deleted = false; // the key is gone: handles to it answer ERROR_KEY_DELETED
    std::unordered_map<std::string, CachedValue> values; // by fold
    std::unordered_map<std::string, KeyRecord> children; // by fold; id 0: no such child
    std::shared_ptr<const SubKeyList> subKeys;
    std::shared_ptr<const ValueList> valueList;
};

class HiveCache {
public:
    // The entry for key id, or nullptr when nothing of it is remembered.
    CachedKey* Find(std::int64_t id);
    // The entry for key id, made empty if there is none.
    CachedKey& Entry(std::int64_t id);

    // Drops what change may have made stale.
    void Forget(const ChangeRecord& change);
    void Clear();

    // Counts what an entry took, so that the cache can tell when it holds too much.
    void Grew(std::size_t bytes) { m_bytes += bytes; }
    // Past this, the cache starts again: a process that walks a large tree once should not
    // keep all of it.
    bool Full() const;

    // The bytes a cache entry of this many bytes of names and data costs, roughly.
    static std::size_t Cost(std::size_t payload) { return payload + 96; }

private:
    std::unordered_map<std::int64_t, CachedKey> m_keys;
    std::size_t m_bytes = 0;
};

} // namespace TesselPlatform::Registry
