// The failure that ends a tessel-reg command: the one line it prints after "ERROR: ", and
// whether that line also points the user at the command's usage.
#pragma once

#include <string>

#include "TesselWin32.h"

namespace Tessel::Reg {

class ToolError {
public:
    ToolError(std::wstring message, bool usageHint) : m_message(std::move(message)), m_usageHint(usageHint) {}

    // Arguments that don't form a valid command.
    static ToolError Syntax() { return ToolError(L"Invalid syntax.", true); }
    static ToolError BadKeyName() { return ToolError(L"Invalid key name.", true); }
    // A registry call failed; the text is the one Windows gives for the status.
    static ToolError FromStatus(LSTATUS status);

    const std::wstring& Message() const { return m_message; }
    bool UsageHint() const { return m_usageHint; }

private:
    std::wstring m_message;
    bool m_usageHint = false;
};

// The English text of a registry status, without a line end. A missing key or value reads as
// the administrator's tool words it, since that is what users search for.
std::wstring StatusText(LSTATUS status);

} // namespace Tessel::Reg
