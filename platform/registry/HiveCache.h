// What one process remembers of a hive between calls: keys, children, values and lists, each as
// the database last gave them. The hive decides when the cache may be read and when it must go.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "registry/Records.h"

namespace TesselPlatform::Registry {

struct HiveCache {
    std::unordered_map<std::int64_t, KeyRecord> keys;    // id 0 in the record: deleted
    std::unordered_map<std::string, KeyRecord> children; // parent id + fold; id 0: no such child
    std::unordered_map<std::string, ValueRecord> values; // key id + fold
    std::unordered_map<std::string, bool> missingValues; // key id + fold known to have no value
    std::unordered_map<std::int64_t, std::shared_ptr<const SubKeyList>> subKeys;
    std::unordered_map<std::int64_t, std::shared_ptr<const ValueList>> valueLists;

    std::size_t dataBytes = 0; // value data held, which entries alone don't bound

    // Whether the cache has grown past what a process should keep: a process that walks a
    // large tree once should not keep all of it.
    bool Full() const;
    void Clear();

    // Builds the key of an entry into out, whose buffer is kept from call to call: a cache hit
    // allocates nothing.
    static const std::string& EntryKey(std::int64_t id, const std::string& fold, std::string& out);
};

} // namespace TesselPlatform::Registry
