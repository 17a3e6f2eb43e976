// The reads that the reader and the writer share: the twenty typed reads and the four calls that
// list a dataset, told once over one RegistryDataset for whichever of the two interfaces declares
// them.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Tessel/IConfigReader.h"
#include "Tessel/IPersistentDataWriter.h"
#include "config/RegistryDataset.h"

namespace Tessel::Detail {

// Fills the slots of Interface's typed reads and listing calls; the order of the slots stays the
// interface's own. The class of each failure comes from the dataset's policy, so a reader and a
// writer differ here in nothing else. The two instantiations, for IConfigReader and
// IPersistentDataWriter, are made in DatasetReads.cpp.
template <class Interface>
class DatasetReads : public Interface {
public:
    DatasetReads(const DatasetReads&) = delete;
    DatasetReads& operator=(const DatasetReads&) = delete;

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

    std::wstring GetDatasetPath() const override;
    std::vector<std::wstring> GetParameterNames() const override;
    bool HasSubDataset(const std::wstring& subName) const override;
    std::vector<std::wstring> GetSubDatasetNames() const override;

protected:
    DatasetReads(const std::wstring& location, ULONG regOverride, bool mustExist, const DatasetPolicy& policy);
    ~DatasetReads() override;

    template <class T>
    using Fetch = void (RegistryDataset::*)(const std::wstring&, T&, bool, bool) const;

    // A required read starts from a value-initialised result, an optional one from the default.
    // The fetch is a template argument, so that the read path makes a direct call, and the
    // result is built in the caller's place.
    template <class T, Fetch<T> kFetch>
    T Read(const std::wstring& name) const
    {
        T value{};
        (m_dataset.*kFetch)(name, value, true, true);
        return value;
    }

    template <class T, Fetch<T> kFetch>
    T ReadOr(const std::wstring& name, const T& defaultValue) const
    {
        T value(defaultValue);
        (m_dataset.*kFetch)(name, value, false, true);
        return value;
    }

    // An Object, built from a location and the view flags, on each existing direct sub dataset,
    // in the store's order.
    template <class Object>
    std::vector<std::shared_ptr<Interface>> OpenSubDatasets() const
    {
        std::vector<std::shared_ptr<Interface>> objects;
        for (const std::wstring& name : m_dataset.EnumerateSubKeys())
            objects.push_back(std::make_shared<Object>(m_dataset.SubDatasetLocation(name), m_regOverride));
        return objects;
    }

    RegistryDataset m_dataset;
    ULONG m_regOverride; // handed to every sub dataset's reader or writer
};

extern template class DatasetReads<IConfigReader>;
extern template class DatasetReads<IPersistentDataWriter>;

} // namespace Tessel::Detail
