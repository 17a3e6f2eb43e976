// The read-only view of one dataset of configuration: typed parameters, sub datasets and names.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Tessel/Export.h"

namespace Tessel {

// A reader of one dataset. Obtain one from ConfigReaderFactory::GetConfigReader or from another
// reader's GetSubDataset; it owns its own open key and needs neither the factory nor its parent.
// Nothing is cached: every call goes to the store. One reader can serve several threads.
//
// The plain reads throw ParameterNotFoundException for a missing parameter; the reads ending in
// "Or" give the default instead. Both throw InvalidTypeException for a parameter of the wrong
// stored type or with text that does not convert: a default replaces only a missing parameter.
// Integers, doubles, booleans ("yes"/"no") and their lists are text, items apart by ',' or ';';
// unsigned numbers are REG_DWORD; string lists are REG_MULTI_SZ.
//
// The order of the operations is part of the binary interface.
class TESSEL_API IConfigReader {
public:
    virtual int GetInt(const std::wstring& name) const = 0;
    virtual unsigned int GetUInt(const std::wstring& name) const = 0;
    virtual double GetDouble(const std::wstring& name) const = 0;
    virtual bool GetBool(const std::wstring& name) const = 0;
    virtual std::wstring GetString(const std::wstring& name) const = 0;
    virtual std::vector<int> GetIntList(const std::wstring& name) const = 0;
    virtual std::vector<unsigned int> GetUIntList(const std::wstring& name) const = 0;
    virtual std::vector<double> GetDoubleList(const std::wstring& name) const = 0;
    virtual std::vector<bool> GetBoolList(const std::wstring& name) const = 0;
    virtual std::vector<std::wstring> GetStringList(const std::wstring& name) const = 0;
    // Reads a double from text, or from a REG_DWORD when the parameter is no text.
    virtual double GetDoubleCoerced(const std::wstring& name) const = 0;
    // Reads text as it is stored, or a REG_DWORD as its decimal digits.
    virtual std::wstring GetStringCoerced(const std::wstring& name) const = 0;

    virtual int GetIntOr(const std::wstring& name, int defaultValue) const = 0;
    virtual unsigned int GetUIntOr(const std::wstring& name, unsigned int defaultValue) const = 0;
    virtual double GetDoubleOr(const std::wstring& name, double defaultValue) const = 0;
    virtual bool GetBoolOr(const std::wstring& name, bool defaultValue) const = 0;
    virtual std::wstring GetStringOr(const std::wstring& name, const std::wstring& defaultValue) const = 0;
    // A stored empty list is a value, so it is returned instead of the default.
    virtual std::vector<int> GetIntListOr(const std::wstring& name, const std::vector<int>& defaultValue) const = 0;
    virtual std::vector<unsigned int> GetUIntListOr(const std::wstring& name,
                                                    const std::vector<unsigned int>& defaultValue) const = 0;
    virtual std::vector<double> GetDoubleListOr(const std::wstring& name,
                                                const std::vector<double>& defaultValue) const = 0;
    virtual std::vector<bool> GetBoolListOr(const std::wstring& name, const std::vector<bool>& defaultValue) const = 0;
    virtual std::vector<std::wstring> GetStringListOr(const std::wstring& name,
                                                      const std::vector<std::wstring>& defaultValue) const = 0;
    virtual double GetDoubleCoercedOr(const std::wstring& name, double defaultValue) const = 0;
    virtual std::wstring GetStringCoercedOr(const std::wstring& name, const std::wstring& defaultValue) const = 0;

    // Opens a direct sub dataset, matching its name without regard to case. Throws
    // ConfigurationNotFoundException when there is none.
    virtual std::shared_ptr<IConfigReader> GetSubDataset(const std::wstring& subName) const = 0;
    // Opens every direct sub dataset, in the store's order.
    virtual std::vector<std::shared_ptr<IConfigReader>> GetSubDatasets() const = 0;
    // The last component of the path below the root; empty for a root itself.
    virtual std::wstring GetDatasetName() const = 0;
    // The location without a scheme word; it can be given to a factory again.
    virtual std::wstring GetDatasetPath() const = 0;
    // Names of all parameters in the store's order; the unnamed default value is the empty name.
    virtual std::vector<std::wstring> GetParameterNames() const = 0;
    // Whether a direct sub dataset of that name exists, without regard to case.
    virtual bool HasSubDataset(const std::wstring& subName) const = 0;
    virtual std::vector<std::wstring> GetSubDatasetNames() const = 0;

protected:
    IConfigReader();
    virtual ~IConfigReader();
    IConfigReader(const IConfigReader&) = default;
    IConfigReader& operator=(const IConfigReader&) = default;
};

} // namespace Tessel
