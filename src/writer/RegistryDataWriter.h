// The writer of one registry key, the one implementation of IPersistentDataWriter.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Tessel/IPersistentDataWriter.h"
#include "config/RegistryDataset.h"

namespace Tessel::Detail {

// Owns its key, which is closed, open for reading or open for writing. Construction never
// creates anything and fails only for a bad root keyword; the first modifying operation re-opens
// the key for writing and so brings the dataset into being. Holds no reference to its factory or
// its parent. One thread at a time.
class RegistryDataWriter final : public IPersistentDataWriter {
public:
    // Throws UnknownPersistentDataException, without a text, for a bad root keyword.
    RegistryDataWriter(const std::wstring& location, ULONG regOverride);
    ~RegistryDataWriter() override;
    RegistryDataWriter(const RegistryDataWriter&) = delete;
    RegistryDataWriter& operator=(const RegistryDataWriter&) = delete;

    int GetInt(const std::wstring& name) const override;
    std::vector<int> GetIntList(const std::wstring& name) const override;
    int GetIntOr(const std::wstring& name, int defaultValue) const override;
    std::vector<int> GetIntListOr(const std::wstring& name, const std::vector<int>& defaultValue) const override;
    void SetInt(const std::wstring& name, int value) override;
    void SetIntList(const std::wstring& name, const std::vector<int>& value) override;

    double GetDouble(const std::wstring& name) const override;
    std::vector<double> GetDoubleList(const std::wstring& name) const override;
    double GetDoubleOr(const std::wstring& name, double defaultValue) const override;
    std::vector<double> GetDoubleListOr(const std::wstring& name,
                                        const std::vector<double>& defaultValue) const override;
    void SetDouble(const std::wstring& name, double value) override;
    void SetDoubleList(const std::wstring& name, const std::vector<double>& value) override;

    bool GetBool(const std::wstring& name) const override;
    std::vector<bool> GetBoolList(const std::wstring& name) const override;
    bool GetBoolOr(const std::wstring& name, bool defaultValue) const override;
    std::vector<bool> GetBoolListOr(const std::wstring& name, const std::vector<bool>& defaultValue) const override;
    void SetBool(const std::wstring& name, bool value) override;
    void SetBoolList(const std::wstring& name, const std::vector<bool>& value) override;

    std::wstring GetString(const std::wstring& name) const override;
    std::vector<std::wstring> GetStringList(const std::wstring& name) const override;
    std::wstring GetStringOr(const std::wstring& name, const std::wstring& defaultValue) const override;
    std::vector<std::wstring> GetStringListOr(const std::wstring& name,
                                              const std::vector<std::wstring>& defaultValue) const override;
    void SetString(const std::wstring& name, const std::wstring& value) override;
    void SetStringList(const std::wstring& name, const std::vector<std::wstring>& value) override;

    unsigned int GetUInt(const std::wstring& name) const override;
    std::vector<unsigned int> GetUIntList(const std::wstring& name) const override;
    unsigned int GetUIntOr(const std::wstring& name, unsigned int defaultValue) const override;
    std::vector<unsigned int> GetUIntListOr(const std::wstring& name,
                                            const std::vector<unsigned int>& defaultValue) const override;
    void SetUInt(const std::wstring& name, unsigned int value) override;
    void SetUIntList(const std::wstring& name, const std::vector<unsigned int>& value) override;

    void DeleteParameter(const std::wstring& name) override;
    std::shared_ptr<IPersistentDataWriter> GetSubDataset(const std::wstring& subName) const override;
    std::vector<std::shared_ptr<IPersistentDataWriter>> GetSubDatasets() const override;
    void CreateSubDataset(const std::wstring& subName) override;
    void DeleteSubDataset(const std::wstring& subName) override;
    std::wstring GetDatasetName() const override;
    std::wstring GetDatasetPath() const override;
    std::vector<std::wstring> GetParameterNames() const override;
    void CopyParameters(const IConfigReader& source, bool overwrite) override;
    bool HasSubDataset(const std::wstring& subName) const override;
    std::vector<std::wstring> GetSubDatasetNames() const override;

private:
    template <class T>
    using Fetch = void (RegistryDataset::*)(const std::wstring&, T&, bool, bool) const;

    // A required read starts from a value-initialised result, an optional one from the default.
    template <class T>
    T Read(Fetch<T> fetch, const std::wstring& name, T value, bool required) const;

    // The first two steps of every Set: the dataset opened for writing, and the present value
    // read as the type about to be written, so that a parameter of another type or with text
    // that does not convert is refused before anything is written.
    template <class T>
    void PrepareSet(Fetch<T> guard, const std::wstring& name);

    // Stores the text up to its first NUL as REG_SZ or as the given type, and maps the status.
    void StoreText(const std::wstring& name, const std::wstring& text);
    void StoreBytes(const std::wstring& name, DWORD type, const BYTE* data, DWORD size);

    RegistryDataset m_dataset;
    ULONG m_regOverride; // handed to every sub writer
};

} // namespace Tessel::Detail
