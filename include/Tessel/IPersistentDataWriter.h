// The read-write view of one dataset of persistent data: typed parameters read and written,
// parameters copied in, and sub datasets created, deleted and walked.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Tessel/Export.h"
#include "Tessel/IConfigReader.h"

namespace Tessel {

// A writer of one dataset. Obtain one from PersistentDataWriterFactory::GetPersistentDataWriter
// or from another writer's GetSubDataset; it owns its own key and needs neither the factory nor
// its parent. A writer may stand on a dataset that does not exist: its reads then find nothing,
// and its first modifying operation creates the dataset with every key above it. Nothing is
// cached or buffered: every call goes to the store. A writer is for one thread at a time.
//
// Reads behave as those of IConfigReader, with the writer's exception classes:
// PersistentDataParameterNotFoundException, InvalidPersistentDataTypeException and
// UnknownPersistentDataException. A Set first reads the parameter as the type it is about to
// write and refuses, leaving the store unchanged, when that read fails: a parameter keeps its
// stored type until it is deleted or overwritten by CopyParameters. The first modifying operation
// throws PersistentDataNotFoundException when the dataset cannot be opened for writing.
//
// The order of the operations is part of the binary interface.
class TESSEL_API IPersistentDataWriter {
public:
    virtual int GetInt(const std::wstring& name) const = 0;
    virtual std::vector<int> GetIntList(const std::wstring& name) const = 0;
    virtual int GetIntOr(const std::wstring& name, int defaultValue) const = 0;
    virtual std::vector<int> GetIntListOr(const std::wstring& name, const std::vector<int>& defaultValue) const = 0;
    // Stored as decimal text.
    virtual void SetInt(const std::wstring& name, int value) = 0;
    // Stored as one text, the items apart by ",;".
    virtual void SetIntList(const std::wstring& name, const std::vector<int>& value) = 0;

    virtual double GetDouble(const std::wstring& name) const = 0;
    virtual std::vector<double> GetDoubleList(const std::wstring& name) const = 0;
    virtual double GetDoubleOr(const std::wstring& name, double defaultValue) const = 0;
    virtual std::vector<double> GetDoubleListOr(const std::wstring& name,
                                                const std::vector<double>& defaultValue) const = 0;
    // Stored as text with 15 significant digits, so a read may give back a neighbouring value.
    virtual void SetDouble(const std::wstring& name, double value) = 0;
    virtual void SetDoubleList(const std::wstring& name, const std::vector<double>& value) = 0;

    virtual bool GetBool(const std::wstring& name) const = 0;
    virtual std::vector<bool> GetBoolList(const std::wstring& name) const = 0;
    virtual bool GetBoolOr(const std::wstring& name, bool defaultValue) const = 0;
    virtual std::vector<bool> GetBoolListOr(const std::wstring& name, const std::vector<bool>& defaultValue) const = 0;
    // Stored as "yes" or "no".
    virtual void SetBool(const std::wstring& name, bool value) = 0;
    virtual void SetBoolList(const std::wstring& name, const std::vector<bool>& value) = 0;

    virtual std::wstring GetString(const std::wstring& name) const = 0;
    virtual std::vector<std::wstring> GetStringList(const std::wstring& name) const = 0;
    virtual std::wstring GetStringOr(const std::wstring& name, const std::wstring& defaultValue) const = 0;
    virtual std::vector<std::wstring> GetStringListOr(const std::wstring& name,
                                                      const std::vector<std::wstring>& defaultValue) const = 0;
    // Stores the text up to its first NUL character.
    virtual void SetString(const std::wstring& name, const std::wstring& value) = 0;
    // Stores the items up to the first empty one, which ends the list.
    virtual void SetStringList(const std::wstring& name, const std::vector<std::wstring>& value) = 0;

    virtual unsigned int GetUInt(const std::wstring& name) const = 0;
    virtual std::vector<unsigned int> GetUIntList(const std::wstring& name) const = 0;
    virtual unsigned int GetUIntOr(const std::wstring& name, unsigned int defaultValue) const = 0;
    virtual std::vector<unsigned int> GetUIntListOr(const std::wstring& name,
                                                    const std::vector<unsigned int>& defaultValue) const = 0;
    // Stored as a number; the only Set that does not store text.
    virtual void SetUInt(const std::wstring& name, unsigned int value) = 0;
    // Stored as text, like the other lists: not readable by GetUInt.
    virtual void SetUIntList(const std::wstring& name, const std::vector<unsigned int>& value) = 0;

    // Removes a parameter; a missing one is no failure.
    virtual void DeleteParameter(const std::wstring& name) = 0;

    // A writer on a direct sub dataset, named as the store spells it when one matches without
    // regard to case. Creates nothing: the sub dataset need not exist.
    virtual std::shared_ptr<IPersistentDataWriter> GetSubDataset(const std::wstring& subName) const = 0;
    // One writer for each existing direct sub dataset, in the store's order.
    virtual std::vector<std::shared_ptr<IPersistentDataWriter>> GetSubDatasets() const = 0;
    // Creates the sub dataset, with every level of a name that holds backslashes, if it is absent.
    virtual void CreateSubDataset(const std::wstring& subName) = 0;
    // Removes a sub dataset with everything below it; a missing one is no failure. A failure
    // part-way leaves what was already removed removed.
    virtual void DeleteSubDataset(const std::wstring& subName) = 0;

    // The last component of the path below the root; for a key at ...\userdata\X\system, X.
    virtual std::wstring GetDatasetName() const = 0;
    // The location without a scheme word; it can be given to a factory again.
    virtual std::wstring GetDatasetPath() const = 0;
    // Names of all parameters in the store's order; the unnamed default value is the empty name.
    virtual std::vector<std::wstring> GetParameterNames() const = 0;

    // Brings every parameter of source's dataset into this one with its stored type and bytes,
    // unconverted. With overwrite false only parameters that this dataset lacks are copied;
    // parameters that only this dataset has stay either way. Sub datasets are not touched.
    // A failed write throws Unexpected and leaves the parameters before it copied.
    virtual void CopyParameters(const IConfigReader& source, bool overwrite) = 0;

    // Whether a direct sub dataset of that name exists, without regard to case.
    virtual bool HasSubDataset(const std::wstring& subName) const = 0;
    virtual std::vector<std::wstring> GetSubDatasetNames() const = 0;

    // Copying an interface copies nothing: the state belongs to the implementation.
    IPersistentDataWriter(const IPersistentDataWriter&);
    IPersistentDataWriter& operator=(const IPersistentDataWriter&);

protected:
    IPersistentDataWriter();
    virtual ~IPersistentDataWriter();
};

} // namespace Tessel
