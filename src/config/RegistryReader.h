// The reader of one registry key, the one implementation of IConfigReader.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Tessel/IConfigReader.h"
#include "config/DatasetReads.h"

namespace Tessel::Detail {

// Owns its key, opened for query and enumeration only, so nothing done through a reader can
// change the store. Holds no reference to its factory or its parent; changes nothing after
// construction, so several threads may share one. The typed reads and the listing calls come
// from DatasetReads; the reads that fall back to a number, and the walk, are the reader's own.
class RegistryReader final : public DatasetReads<IConfigReader> {
public:
    // Throws UnknownConfigurationException for a bad root keyword and
    // ConfigurationNotFoundException, with the sub key as its text, when the key cannot be opened.
    RegistryReader(const std::wstring& location, ULONG regOverride);
    ~RegistryReader() override;

    double GetDoubleCoerced(const std::wstring& name) const override;
    std::wstring GetStringCoerced(const std::wstring& name) const override;
    double GetDoubleCoercedOr(const std::wstring& name, double defaultValue) const override;
    std::wstring GetStringCoercedOr(const std::wstring& name, const std::wstring& defaultValue) const override;

    std::shared_ptr<IConfigReader> GetSubDataset(const std::wstring& subName) const override;
    std::vector<std::shared_ptr<IConfigReader>> GetSubDatasets() const override;
    std::wstring GetDatasetName() const override;
};

} // namespace Tessel::Detail
