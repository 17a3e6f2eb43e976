// The reader of one registry key, the one implementation of IConfigReader.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Tessel/IConfigReader.h"
#include "config/RegistryDataset.h"

namespace Tessel::Detail {

// Owns its key, opened for query and enumeration only, so nothing done through a reader can
// change the store. Holds no reference to its factory or its parent; changes nothing after
// construction, so several threads may share one.
class RegistryReader final : public IConfigReader {
public:
    // Throws UnknownConfigurationException for a bad root keyword and
    // ConfigurationNotFoundException, with the sub key as its text, when the key cannot be opened.
    RegistryReader(const std::wstring& location, ULONG regOverride);
    ~RegistryReader() override;

    int GetInt(const std::wstring& name) const override;
    unsigned int GetUInt(const std::wstring& name) const override;
    double GetDouble(const std::wstring& name) const override;
    bool GetBool(const std::wstring& name) const override;
    std::wstring GetString(const std::wstring& name) const override;
    std::vector<int> GetIntList(const std::wstring& name) const override;
    std::vector<unsigned int> GetUIntList(const std::wstring& name) const override;
    std::vector<double> GetDoubleList(const std::wstring& name) const override;
    std::vector<bool> GetBoolList(const std::wstring& name) const override;
    std::vector<std::wstring> GetStringList(const std::wstring& name) const override;
    double GetDoubleCoerced(const std::wstring& name) const override;
    std::wstring GetStringCoerced(const std::wstring& name) const override;

    int GetIntOr(const std::wstring& name, int defaultValue) const override;
    unsigned int GetUIntOr(const std::wstring& name, unsigned int defaultValue) const override;
    double GetDoubleOr(const std::wstring& name, double defaultValue) const override;
    bool GetBoolOr(const std::wstring& name, bool defaultValue) const override;
    std::wstring GetStringOr(const std::wstring& name, const std::wstring& defaultValue) const override;
    std::vector<int> GetIntListOr(const std::wstring& name, const std::vector<int>& defaultValue) const override;
    std::vector<unsigned int> GetUIntListOr(const std::wstring& name,
                                            const std::vector<unsigned int>& defaultValue) const override;
    std::vector<double> GetDoubleListOr(const std::wstring& name,
                                        const std::vector<double>& defaultValue) const override;
    std::vector<bool> GetBoolListOr(const std::wstring& name, const std::vector<bool>& defaultValue) const override;
    std::vector<std::wstring> GetStringListOr(const std::wstring& name,
                                              const std::vector<std::wstring>& defaultValue) const override;
    double GetDoubleCoercedOr(const std::wstring& name, double defaultValue) const override;
    std::wstring GetStringCoercedOr(const std::wstring& name, const std::wstring& defaultValue) const override;

    std::shared_ptr<IConfigReader> GetSubDataset(const std::wstring& subName) const override;
    std::vector<std::shared_ptr<IConfigReader>> GetSubDatasets() const override;
    std::wstring GetDatasetName() const override;
    std::wstring GetDatasetPath() const override;
    std::vector<std::wstring> GetParameterNames() const override;
    bool HasSubDataset(const std::wstring& subName) const override;
    std::vector<std::wstring> GetSubDatasetNames() const override;

private:
    template <class T>
    using Fetch = void (RegistryDataset::*)(const std::wstring&, T&, bool, bool) const;

    // A required read starts from a value-initialised result, an optional one from the default.
    template <class T>
    T Read(Fetch<T> fetch, const std::wstring& name, T value, bool required) const;

    RegistryDataset m_dataset;
    ULONG m_regOverride; // handed to every sub reader
};

} // namespace Tessel::Detail
