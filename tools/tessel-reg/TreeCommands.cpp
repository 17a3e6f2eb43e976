// copy and compare: the commands over two keys. Names are matched by asking the registry for
// them, so that both follow the store's own case rules.

#include "CommandSupport.h"
#include "Commands.h"
#include "Messages.h"

namespace Tessel::Reg {
namespace {

// copy

// One key to write: where, what, and which values the user chose to keep as they are.
struct CopyStep {
    KeyPath Target;
    std::vector<RegistryValue> Values;
    std::vector<bool> Skip;
};

// Reads the whole source before anything is written, so that a copy into the source's own
// tree neither sees its own writes nor runs forever.
void CollectCopy(const KeyPath& source, const RegistryKey& sourceKey, const KeyPath& target, bool recurse,
                 std::vector<CopyStep>& steps)
{
    CopyStep step;
    step.Target = target;
    Require(sourceKey.ReadValues(step.Values));
    step.Skip.assign(step.Values.size(), false);
    steps.push_back(std::move(step));
    if (!recurse)
        return;
    for (const std::wstring& name : SubKeyNames(sourceKey)) {
        RegistryKey child;
        if (OpenFoundKey(child, source.Child(name), KEY_READ))
            CollectCopy(source.Child(name), child, target.Child(name), true, steps);
    }
}

// Asks about every value that the copy would overwrite, before the first write; without someone
// to ask and without /f, refuses with the first one.
void ConfirmOverwrites(std::vector<CopyStep>& steps, bool force, Console& console)
{
    for (CopyStep& step : steps) {
        RegistryKey existing;
        if (force || !OpenFoundKey(existing, step.Target, KEY_QUERY_VALUE))
            continue;
        for (size_t i = 0; i < step.Values.size(); ++i) {
            RegistryValue old;
            const LSTATUS status = existing.ReadValue(step.Values[i].Name, old);
            if (status == ERROR_FILE_NOT_FOUND)
                continue;
            Require(status);
            const std::wstring name = step.Target.FullName() + L'\\' + DisplayName(step.Values[i].Name);
            if (!console.Interactive())
                throw ToolError(Messages::OverwriteValueRefusal(name), false);
            step.Skip[i] = !console.Confirm(Messages::OverwriteValueQuestion(name));
        }
    }
}

// compare

class Comparison {
public:
    Comparison(CompareOutput output, Console& console) : m_output(output), m_console(console) {}

    bool Different() const { return m_different; }

    void CompareTrees(const KeyPath& left, const RegistryKey& leftKey, const KeyPath& right,
                      const RegistryKey& rightKey, bool recurse)
    {
        std::vector<RegistryValue> values;
        Require(leftKey.ReadValues(values));
        for (const RegistryValue& value : values)
            CompareValue(left, leftKey, right, rightKey, value.Name);
        Require(rightKey.ReadValues(values));
        for (const RegistryValue& value : values) {
            RegistryValue other;
            if (Read(leftKey, value.Name, other))
                continue;
            ValueLine(L'>', right, value);
        }
        if (!recurse)
            return;
        for (const std::wstring& name : SubKeyNames(leftKey)) {
            RegistryKey leftChild;
            RegistryKey rightChild;
            if (!OpenFoundKey(leftChild, left.Child(name), KEY_READ))
                continue;
            if (OpenFoundKey(rightChild, right.Child(name), KEY_READ))
                CompareTrees(left.Child(name), leftChild, right.Child(name), rightChild, true);
            else
                KeyLine(L'<', left.Child(name));
        }
        for (const std::wstring& name : SubKeyNames(rightKey)) {
            RegistryKey leftChild;
            if (!OpenFoundKey(leftChild, left.Child(name), KEY_READ))
                KeyLine(L'>', right.Child(name));
        }
    }

    // Returns false when neither key has the value.
    bool CompareValue(const KeyPath& left, const RegistryKey& leftKey, const KeyPath& right,
                      const RegistryKey& rightKey, const std::wstring& name)
    {
        RegistryValue leftValue;
        RegistryValue rightValue;
        const bool inLeft = Read(leftKey, name, leftValue);
        const bool inRight = Read(rightKey, name, rightValue);
        if (inLeft && inRight && leftValue.Type == rightValue.Type && leftValue.Data == rightValue.Data) {
            ValueLine(L'=', left, leftValue);
            return true;
        }
        if (inLeft)
            ValueLine(L'<', left, leftValue);
        if (inRight)
            ValueLine(L'>', right, rightValue);
        return inLeft || inRight;
    }

private:
    static bool Read(const RegistryKey& key, const std::wstring& name, RegistryValue& value)
    {
        const LSTATUS status = key.ReadValue(name, value);
        if (status == ERROR_FILE_NOT_FOUND)
            return false;
        Require(status);
        return true;
    }

    bool Shows(wchar_t mark)
    {
        if (mark != L'=')
            m_different = true;
        switch (m_output) {
        case CompareOutput::All:
            return true;
        case CompareOutput::Differences:
            return mark != L'=';
        case CompareOutput::Same:
            return mark == L'=';
        case CompareOutput::Nothing:
            return false;
        }
        return false;
    }

    void ValueLine(wchar_t mark, const KeyPath& key, const RegistryValue& value)
    {
        if (Shows(mark))
            m_console.Out(std::wstring(1, mark) + L' ' + key.FullName() + FormatValueLine(value));
    }

    void KeyLine(wchar_t mark, const KeyPath& key)
    {
        if (Shows(mark))
            OutLine(m_console, std::wstring(1, mark) + L' ' + key.FullName());
    }

    CompareOutput m_output;
    Console& m_console;
    bool m_different = false;
};

} // namespace

int RunCopy(const CommandLine& line, Console& console)
{
    const KeyPath source = RequireKeyPath(line, 0);
    const KeyPath target = RequireKeyPath(line, 1);
    RegistryKey sourceKey;
    Require(sourceKey.Open(source, KEY_READ));

    std::vector<CopyStep> steps;
    CollectCopy(source, sourceKey, target, line.Recurse, steps);
    ConfirmOverwrites(steps, line.Force, console);
    for (const CopyStep& step : steps) {
        RegistryKey key;
        Require(key.Create(step.Target, KEY_SET_VALUE));
        for (size_t i = 0; i < step.Values.size(); ++i) {
            if (!step.Skip[i])
                Require(key.WriteValue(step.Values[i]));
        }
    }
    OutLine(console, Messages::kCompleted);
    return kExitSuccess;
}

int RunCompare(const CommandLine& line, Console& console)
{
    const KeyPath left = RequireKeyPath(line, 0);
    const KeyPath right = RequireKeyPath(line, 1);
    RegistryKey leftKey;
    RegistryKey rightKey;
    Require(leftKey.Open(left, KEY_READ));
    Require(rightKey.Open(right, KEY_READ));

    Comparison comparison(line.Output, console);
    if (line.Values == ValueSelection::Named || line.Values == ValueSelection::Default) {
        const std::wstring name = line.Values == ValueSelection::Named ? line.ValueName : std::wstring();
        if (!comparison.CompareValue(left, leftKey, right, rightKey, name))
            Require(ERROR_FILE_NOT_FOUND);
    } else {
        comparison.CompareTrees(left, leftKey, right, rightKey, line.Recurse);
    }
    OutLine(console, L"\n" + std::wstring(comparison.Different() ? Messages::kDifferent : Messages::kIdentical));
    OutLine(console, Messages::kCompleted);
    return comparison.Different() ? kExitDifferent : kExitSuccess;
}

} // namespace Tessel::Reg
