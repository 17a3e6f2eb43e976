// Where tessel-reg's commands write and whom they ask. Commands see only this interface, so
// tests can capture their output and answer their questions.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Tessel::Reg {

class Console {
public:
    virtual ~Console() = default;

    virtual void Out(std::wstring_view text) = 0;
    virtual void Err(std::wstring_view text) = 0;
    // Whether someone is there to answer a question; without one, commands refuse what they
    // would otherwise ask about.
    virtual bool Interactive() = 0;
    // Asks a yes/no question until it gets an answer; end of input counts as no.
    virtual bool Confirm(std::wstring_view question) = 0;
};

// The process's own streams: UTF-8 text out, UTF-8 answers in, interactive when standard input
// is a terminal.
class StandardConsole final : public Console {
public:
    StandardConsole();

    void Out(std::wstring_view text) override;
    void Err(std::wstring_view text) override;
    bool Interactive() override;
    bool Confirm(std::wstring_view question) override;
};

// UTF-8 to and from wide text through the system's conversion; invalid input becomes U+FFFD.
std::string Utf8FromWide(std::wstring_view text);
std::wstring WideFromUtf8(std::string_view text);
// Nothing when the text isn't valid UTF-8.
std::optional<std::wstring> WideFromStrictUtf8(std::string_view text);
// Text that may not be valid UTF-8, for a message: bytes that don't decode show as \xNN.
std::wstring ShowBytes(std::string_view text);

// How an answer to a yes/no question reads: true for yes, false for no, nothing if it is neither.
std::optional<bool> ParseAnswer(std::wstring_view answer);

} // namespace Tessel::Reg
