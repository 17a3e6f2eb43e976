// The crash loop's model and value format; see CrashModel.h.

#include "CrashModel.h"

#include <cstring>

namespace Reliability {

namespace {

constexpr std::uint32_t kValueMagic = 0x5643524C;

std::uint8_t PatternByte(std::uint64_t seq, std::size_t index)
{
    return static_cast<std::uint8_t>((seq * 131 + index * 7 + (index >> 9)) & 0xFF);
}

bool IsBelow(const std::string& path, const std::string& ancestor)
{
    return path == ancestor || path.compare(0, ancestor.size() + 1, ancestor + "\\") == 0;
}

const char* OpName(CrashOp op)
{
    switch (op) {
    case CrashOp::CreateKey: return "RegCreateKeyExW";
    case CrashOp::SetValue: return "RegSetValueExW";
    case CrashOp::SetValueLibrary: return "PersistRegistry::Write";
    case CrashOp::DeleteValue: return "RegDeleteValueW";
    case CrashOp::DeleteTree: return "SHDeleteKeyW";
    case CrashOp::DeleteTreeLibrary: return "PersistRegistry::Remove";
    case CrashOp::DeleteLeaf: return "RegDeleteKeyW";
    }
    return "?";
}

} // namespace

std::string LogRecord::Path() const
{
    std::string path = "k" + std::to_string(key);
    if (sub >= 0)
        path += "\\s" + std::to_string(sub);
    return path;
}

std::string LogRecord::Describe() const
{
    return "write " + std::to_string(seq) + ": " + OpName(op) + " " + Path() + " v" + std::to_string(value) + " (" +
           std::to_string(size) + " bytes)";
}

std::vector<std::uint8_t> ValueBytes(std::uint64_t seq, std::uint32_t size)
{
    std::vector<std::uint8_t> bytes(size < kMinValueSize ? kMinValueSize : size);
    const std::uint32_t length = static_cast<std::uint32_t>(bytes.size());
    std::memcpy(bytes.data(), &kValueMagic, 4);
    std::memcpy(bytes.data() + 4, &length, 4);
    std::memcpy(bytes.data() + 8, &seq, 8);
    for (std::size_t i = 16; i < bytes.size(); ++i)
        bytes[i] = PatternByte(seq, i);
    return bytes;
}

std::optional<std::uint64_t> WriteOfBytes(const std::uint8_t* data, std::size_t size)
{
    if (size < kMinValueSize)
        return std::nullopt;
    std::uint32_t magic = 0, length = 0;
    std::uint64_t seq = 0;
    std::memcpy(&magic, data, 4);
    std::memcpy(&length, data + 4, 4);
    std::memcpy(&seq, data + 8, 8);
    if (magic != kValueMagic || length != size)
        return std::nullopt;
    for (std::size_t i = 16; i < size; ++i) {
        if (data[i] != PatternByte(seq, i))
            return std::nullopt;
    }
    return seq;
}

void Apply(TreeState& state, const LogRecord& op)
{
    const std::string path = op.Path();
    const std::string name = "v" + std::to_string(op.value);
    switch (op.op) {
    case CrashOp::CreateKey:
        state.keys[path];
        if (op.sub >= 0)
            state.keys["k" + std::to_string(op.key)];
        break;
    case CrashOp::SetValue:
    case CrashOp::SetValueLibrary:
        state.keys[path][name] = op.seq;
        break;
    case CrashOp::DeleteValue:
        state.keys[path].erase(name);
        break;
    case CrashOp::DeleteTree:
    case CrashOp::DeleteTreeLibrary:
    case CrashOp::DeleteLeaf:
        for (auto it = state.keys.begin(); it != state.keys.end();)
            it = IsBelow(it->first, path) ? state.keys.erase(it) : std::next(it);
        break;
    }
}

Difference Compare(const TreeState& expected, const TreeState& snapshot)
{
    Difference difference;
    auto note = [&](int& counter, const std::string& what) {
        if (difference.Total() == 0)
            difference.first = what;
        ++counter;
    };
    for (const auto& [path, values] : expected.keys) {
        const auto found = snapshot.keys.find(path);
        if (found == snapshot.keys.end()) {
            note(difference.lost, "key " + path + " is missing");
            continue;
        }
        for (const auto& [name, seq] : values) {
            const auto value = found->second.find(name);
            if (value == found->second.end())
                note(difference.lost, path + " " + name + " (write " + std::to_string(seq) + ") is missing");
            else if (value->second != seq)
                note(value->second < seq ? difference.lost : difference.extra,
                     path + " " + name + " holds write " + std::to_string(value->second) + ", not " +
                         std::to_string(seq));
        }
        for (const auto& [name, seq] : found->second) {
            if (values.count(name) == 0)
                note(difference.extra, path + " " + name + " holds write " + std::to_string(seq) + ", never committed");
        }
    }
    for (const auto& [path, values] : snapshot.keys) {
        if (expected.keys.count(path) == 0)
            note(difference.extra, "key " + path + " exists, never committed");
    }
    return difference;
}

} // namespace Reliability
