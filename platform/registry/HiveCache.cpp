// A hive's per-process cache. Implementation here must contain only generic UNIX code.

#include "registry/HiveCache.h"

namespace TesselPlatform::Registry {

namespace {

constexpr std::size_t kMaxBytes = 128u << 20;

} // namespace

int CompareFolded(const Utf16& name, const std::string& fold)
{
    const std::size_t units = fold.size() / 2;
    for (std::size_t i = 0; i < name.size() && i < units; ++i) {
        const unsigned upper = UpperCaseUnit(name[i]);
        const unsigned wanted = static_cast<unsigned>(static_cast<unsigned char>(fold[2 * i]) << 8) |
                                static_cast<unsigned char>(fold[2 * i + 1]);
        if (upper != wanted)
            return upper < wanted ? -1 : 1;
    }
    return name.size() == units ? 0 : name.size() < units ? -1 : 1;
}

CachedKey* HiveCache::Find(std::int64_t id)
{
    const auto found = m_keys.find(id);
    return found == m_keys.end() ? nullptr : &found->second;
}

CachedKey& HiveCache::Entry(std::int64_t id)
{
    const auto inserted = m_keys.try_emplace(id);
    if (inserted.second)
        m_bytes += Cost(0);
    return inserted.first->second;
}

void HiveCache::Forget(const ChangeRecord& change)
{
    switch (change.kind) {
    case ChangeKind::ValueSet:
    case ChangeKind::ValueDeleted:
        if (CachedKey* key = Find(change.key)) {
            key->values.erase(FoldKey(change.name));
            key->valueList.reset();
        }
        return;
    case ChangeKind::KeyCreated:
    case ChangeKind::KeyDeleted:
    case ChangeKind::AccessChanged:
        // The parent's list and its lookup of this child, which carry the child's grant too.
        if (CachedKey* parent = Find(change.parent)) {
            parent->children.erase(FoldKey(change.name));
            parent->subKeys.reset();
        }
        if (change.kind == ChangeKind::KeyDeleted) {
            CachedKey& gone = Entry(change.key);
            gone = CachedKey{};
            gone.deleted = true;
        } else if (change.kind == ChangeKind::KeyCreated) {
            // A key made by a transaction that rolled back leaves its id to the next key made.
            m_keys.erase(change.key);
        } else if (CachedKey* key = Find(change.key)) {
            key->known = false;
        }
        return;
    case ChangeKind::Everything:
        break;
    }
    Clear();
}

void HiveCache::Clear()
{
    m_keys.clear();
    m_bytes = 0;
}

bool HiveCache::Full() const
{
    return m_bytes > kMaxBytes;
}

} // namespace TesselPlatform::Registry
