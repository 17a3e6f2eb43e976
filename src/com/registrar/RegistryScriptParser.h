// The parser of registration scripts: it reads the text token by token and walks its blocks,
// creating keys and values when registering and removing what the script names when
// unregistering.
#pragma once

#include <string>

#include "TesselWin32.h"

namespace ATL {

class CRegObject;

// The open key of one level of the walk. A predefined root is held but never closed.
class ScriptKey {
public:
    ScriptKey() = default;
    ~ScriptKey() { Close(); }
    ScriptKey(const ScriptKey&) = delete;
    ScriptKey& operator=(const ScriptKey&) = delete;

    HKEY Get() const { return m_key; }
    bool IsOpen() const { return m_key != nullptr; }
    void Attach(HKEY key)
    {
        Close();
        m_key = key;
        m_owned = false;
    }
    LSTATUS Open(HKEY parent, LPCWSTR name, REGSAM access);
    LSTATUS Create(HKEY parent, LPCWSTR name, REGSAM access);
    void Close();

private:
    HKEY m_key = nullptr;
    bool m_owned = false;
};

class RegistryScriptParser {
public:
    // The longest token, a value name included.
    static constexpr size_t kMaxToken = 4094;
    // A key name noted for deletion while unregistering is cut to this length.
    static constexpr size_t kMaxNotedKeyName = 259;
    // Blocks nested deeper than this are refused: no store keeps keys that deep, and the
    // parser's own stack stays bounded whatever the text.
    static constexpr int kMaxNesting = 1024;

    RegistryScriptParser(LPOLESTR text, CRegObject& registrar) : m_cursor(text), m_registrar(registrar) {}

    // Runs the whole script, one root block after another.
    HRESULT Run(bool bRegister);

    // The root key that a keyword names, or null.
    static HKEY RootKeyFromName(const std::wstring& name);
    // Whether a key of this name is kept whatever ForceRemove or Delete says.
    static bool IsProtectedKeyName(const std::wstring& name);

private:
    HRESULT NextToken(std::wstring& token);
    void SkipWhiteSpace();
    bool AtEnd() const { return *m_cursor == L'\0'; }

    HRESULT RegisterBlock(HKEY parent, int depth);
    HRESULT UnregisterBlock(HKEY parent, bool recover, int depth);
    HRESULT RegisterItemBlock(std::wstring& token, HKEY key, int depth);
    // After the word Val: reads the value's name and the token behind it, which must be '='.
    HRESULT ReadValueClauseHead(std::wstring& valueName, std::wstring& token);
    // Reads the type letter and the text of a value and stores it under key.
    HRESULT StoreValue(HKEY key, LPCWSTR valueName);
    // Reads the type letter and the text of a value and drops them.
    HRESULT SkipValue();
    // With token beginning with '=', skips the value behind it and reads the next token.
    HRESULT SkipAssignment(std::wstring& token);

    LPOLESTR m_cursor;
    [[maybe_unused]] CRegObject& m_registrar; // the pairs were applied before parsing
};

} // namespace ATL
