// A hive's per-process cache. Implementation here must contain only generic UNIX code.

#include "registry/HiveCache.h"

namespace TesselPlatform::Registry {

namespace {

constexpr std::size_t kMaxEntries = 200000;
constexpr std::size_t kMaxDataBytes = 64u << 20;

} // namespace

bool HiveCache::Full() const
{
    const std::size_t entries =
        keys.size() + children.size() + values.size() + missingValues.size() + subKeys.size() + valueLists.size();
    return entries > kMaxEntries || dataBytes > kMaxDataBytes;
}

void HiveCache::Clear()
{
    keys.clear();
    children.clear();
    values.clear();
    missingValues.clear();
    subKeys.clear();
    valueLists.clear();
    dataBytes = 0;
}

const std::string& HiveCache::EntryKey(std::int64_t id, const std::string& fold, std::string& out)
{
    out.assign(reinterpret_cast<const char*>(&id), sizeof(id));
    out.append(fold);
    return out;
}

} // namespace TesselPlatform::Registry
