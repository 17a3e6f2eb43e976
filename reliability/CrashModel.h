// The crash loop's bookkeeping: the writer's log of intent and outcome, the values it writes
// (each names its own write, so that a torn or misplaced value shows), and the model of what the
// store must hold, which the log replays and a snapshot of the store is held against.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Reliability {

// The writer's operations; each is one call into the store.
enum class CrashOp : std::uint32_t {
    CreateKey,       // RegCreateKeyExW of a path, making every missing level
    SetValue,        // RegSetValueExW
    SetValueLibrary, // PersistRegistry::Write of bytes
    DeleteValue,     // RegDeleteValueW
    DeleteTree,      // SHDeleteKeyW
    DeleteTreeLibrary, // PersistRegistry::Remove, recursive
    DeleteLeaf,      // RegDeleteKeyW
};

// One line of the writer's log. An intent is written before the call and its outcome after it;
// each is one write(2), which SIGKILL can't split.
struct LogRecord {
    std::uint32_t magic = kMagic;
    std::uint32_t outcome = 0; // 0: intent; 1: outcome, with status
    std::uint64_t seq = 0;
    CrashOp op = CrashOp::CreateKey;
    std::uint32_t key = 0;  // k<key>
    std::int32_t sub = -1;  // k<key>\s<sub>, or -1 for k<key> itself
    std::uint32_t value = 0;
    std::uint32_t size = 0;
    std::int32_t status = 0;

    static constexpr std::uint32_t kMagic = 0x54434C47;
    std::string Path() const;
    std::string Describe() const;
};

// The bytes of the value written by write number seq: a header naming the write, then a pattern
// that only that write produces.
std::vector<std::uint8_t> ValueBytes(std::uint64_t seq, std::uint32_t size);
// The write whose bytes these are, or nothing when they are not exactly one write's bytes.
std::optional<std::uint64_t> WriteOfBytes(const std::uint8_t* data, std::size_t size);
constexpr std::uint32_t kMinValueSize = 24;

// What a key tree below the loop's root holds: each key's path, with its values' writes.
struct TreeState {
    std::map<std::string, std::map<std::string, std::uint64_t>> keys;
    bool operator==(const TreeState& other) const { return keys == other.keys; }
};

// Applies a successful operation to the state, as the store documents it.
void Apply(TreeState& state, const LogRecord& op);

// How far a snapshot is from a state: what the state holds that the snapshot lacks (lost), and
// what the snapshot holds that no write put there (extra).
struct Difference {
    int lost = 0;
    int extra = 0;
    std::string first; // the first difference, for the report
    int Total() const { return lost + extra; }
};
Difference Compare(const TreeState& expected, const TreeState& snapshot);

} // namespace Reliability
