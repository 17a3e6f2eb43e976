// The writer of one registry key, the one implementation of IPersistentDataWriter.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Tessel/IPersistentDataWriter.h"
#include "config/DatasetReads.h"

namespace Tessel::Detail {

// Owns its key, which is closed, open for reading or open for writing. Construction never
// creates anything and fails only for a bad root keyword; the first modifying operation re-opens
// the key for writing and so brings the dataset into being. Holds no reference to its factory or
// its parent. One thread at a time.
//
// The typed reads and the listing calls come from DatasetReads. The writer's own operations live
// in three units: construction, parameter deletion and sub datasets in RegistryDataWriter.cpp,
// the typed writes in TypedWrites.cpp, CopyParameters in ParameterCopy.cpp.
class RegistryDataWriter final : public DatasetReads<IPersistentDataWriter> {
public:
    // Throws UnknownPersistentDataException, without a text, for a bad root keyword.
    RegistryDataWriter(const std::wstring& location, ULONG regOverride);
    ~RegistryDataWriter() override;

    void SetInt(const std::wstring& name, int value) override;
    void SetIntList(const std::wstring& name, const std::vector<int>& value) override;
    void SetDouble(const std::wstring& name, double value) override;
    void SetDoubleList(const std::wstring& name, const std::vector<double>& value) override;
    void SetBool(const std::wstring& name, bool value) override;
    void SetBoolList(const std::wstring& name, const std::vector<bool>& value) override;
    void SetString(const std::wstring& name, const std::wstring& value) override;
    void SetStringList(const std::wstring& name, const std::vector<std::wstring>& value) override;
    void SetUInt(const std::wstring& name, unsigned int value) override;
    void SetUIntList(const std::wstring& name, const std::vector<unsigned int>& value) override;

    void DeleteParameter(const std::wstring& name) override;
    std::shared_ptr<IPersistentDataWriter> GetSubDataset(const std::wstring& subName) const override;
    std::vector<std::shared_ptr<IPersistentDataWriter>> GetSubDatasets() const override;
    void CreateSubDataset(const std::wstring& subName) override;
    void DeleteSubDataset(const std::wstring& subName) override;
    std::wstring GetDatasetName() const override;
    void CopyParameters(const IConfigReader& source, bool overwrite) override;

private:
    // The first two steps of every Set: the dataset opened for writing, and the present value
    // read as the type about to be written, so that a parameter of another type or with text
    // that does not convert is refused before anything is written.
    template <class T>
    void PrepareSet(Fetch<T> guard, const std::wstring& name);

    // Stores the text up to its first NUL as REG_SZ or as the given type, and maps the status.
    void StoreText(const std::wstring& name, const std::wstring& text);
    void StoreBytes(const std::wstring& name, DWORD type, const BYTE* data, DWORD size);
};

} // namespace Tessel::Detail
