// Runs arbitrary bytes through the .reg reader. What it accepts must survive the writer: written
// out and read again, every key and value comes back the same. A crash, a sanitizer report, a
// failure without a line or message, or a value that changes on the way is a finding.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "RegFile.h"

namespace {

using Tessel::Reg::ReadRegFile;
using Tessel::Reg::RegFileError;
using Tessel::Reg::RegFileKey;
using Tessel::Reg::RegFileValue;
using Tessel::Reg::RegFileWriter;

// The keys and values that a file sets, without the deletions, which a written file can't hold.
std::vector<RegFileKey> Settings(std::vector<RegFileKey> keys)
{
    std::vector<RegFileKey> kept;
    for (RegFileKey& key : keys) {
        if (key.Delete)
            continue;
        std::vector<RegFileValue> values;
        for (RegFileValue& value : key.Values) {
            if (!value.Delete)
                values.push_back(std::move(value));
        }
        key.Values = std::move(values);
        kept.push_back(std::move(key));
    }
    return kept;
}

bool SameSettings(const std::vector<RegFileKey>& left, const std::vector<RegFileKey>& right)
{
    if (left.size() != right.size())
        return false;
    for (size_t k = 0; k < left.size(); ++k) {
        if (left[k].Key.FullName() != right[k].Key.FullName() || left[k].Values.size() != right[k].Values.size())
            return false;
        for (size_t v = 0; v < left[k].Values.size(); ++v) {
            const RegFileValue& a = left[k].Values[v];
            const RegFileValue& b = right[k].Values[v];
            if (a.Name != b.Name || a.Type != b.Type || a.Data != b.Data)
                return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<RegFileKey> read;
    try {
        read = Settings(ReadRegFile(data, size));
    } catch (const RegFileError& error) {
        if (error.Line == 0 || error.Message.empty())
            std::abort();
        return 0;
    }

    RegFileWriter writer;
    for (const RegFileKey& key : read) {
        writer.BeginKey(key.Key.FullName());
        for (const RegFileValue& value : key.Values)
            writer.AddValue(value.Name, value.Type, value.Data.data(), value.Data.size());
    }
    const std::string written = writer.Finish();
    try {
        const std::vector<RegFileKey> again =
            ReadRegFile(reinterpret_cast<const std::uint8_t*>(written.data()), written.size());
        if (!SameSettings(read, again))
            std::abort();
    } catch (const RegFileError&) {
        std::abort();
    }
    return 0;
}
