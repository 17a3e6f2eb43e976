// A Console for tests: it keeps what a command writes and gives the answers a test scripted.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "Console.h"

namespace Tessel::Reg::Testing {

class FakeConsole final : public Console {
public:
    explicit FakeConsole(bool interactive = false, std::deque<std::wstring> answers = {})
        : m_interactive(interactive), m_answers(std::move(answers))
    {
    }

    void Out(std::wstring_view text) override { OutText.append(text); }
    void Err(std::wstring_view text) override { ErrText.append(text); }
    bool Interactive() override { return m_interactive; }
    bool Confirm(std::wstring_view question) override
    {
        for (;;) {
            Questions.emplace_back(question);
            if (m_answers.empty())
                return false;
            const std::optional<bool> answer = ParseAnswer(m_answers.front());
            m_answers.pop_front();
            if (answer)
                return *answer;
        }
    }

    std::wstring OutText;
    std::wstring ErrText;
    std::vector<std::wstring> Questions;

private:
    bool m_interactive;
    std::deque<std::wstring> m_answers;
};

// The tests' ASCII text as bytes, for traces and file names.
inline std::string Narrow(std::wstring_view text)
{
    return std::string(text.begin(), text.end());
}

} // namespace Tessel::Reg::Testing
