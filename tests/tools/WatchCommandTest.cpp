// tessel-reg watch in-process: the lines it prints for each kind of change, its count, its
// filter, and the end of the watch when the key goes.

#include <algorithm>
#include <thread>

#include "CommandsFixture.h"

namespace Tessel::Reg::Testing {
namespace {

// The lines after each line's time stamp, which is all that can be compared, in sorted order:
// changes that come close together may be told in one comparison, in the order of their paths.
std::vector<std::wstring> Untimed(const std::wstring& text)
{
    std::vector<std::wstring> lines;
    size_t start = 0;
    for (size_t end; (end = text.find(L'\n', start)) != std::wstring::npos; start = end + 1) {
        const std::wstring line = text.substr(start, end - start);
        const size_t gap = line.find(L"    ");
        lines.push_back(gap == std::wstring::npos ? line : line.substr(gap + 4));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

class WatchCommand : public TesselRegCommands {
protected:
    // Runs watch with args in a thread while changes() runs here; gives its exit code.
    template <typename Changes>
    int Watch(std::vector<std::wstring> args, Changes&& changes)
    {
        args.insert(args.begin(), L"watch");
        int code = -1;
        std::thread watcher([&] { code = Run(args, m_watch); });
        // The watch registers before it reads the key: a change made before that shows in its
        // first comparison; one made after signals it. Either way it is printed.
        changes();
        watcher.join();
        return code;
    }

    FakeConsole m_watch;
};

TEST_F(WatchCommand, PrintsEachKindOfChangeBelowTheKeyWithValueNames)
{
    Add({kKey, L"/f"});
    Add({kKey + L"\\gone", L"/f"});
    const int code = Watch({kKey, L"/s", L"/n", L"4"}, [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        Add({kKey, L"/v", L"Retries", L"/t", L"REG_DWORD", L"/d", L"3", L"/f"});
        Add({kKey + L"\\sub", L"/f"});
        Add({kKey + L"\\sub", L"/ve", L"/d", L"x", L"/f"});
        ASSERT_EQ(0, Run({L"delete", kKey + L"\\gone", L"/f"}));
    });
    EXPECT_EQ(0, code);
    EXPECT_EQ(L"", m_watch.ErrText);
    const std::vector<std::wstring> expected = {
        kFull + L"    value_set    Retries",
        kFull + L"\\gone    key_deleted",
        kFull + L"\\sub    key_added",
        kFull + L"\\sub    value_set    (Default)",
    };
    EXPECT_EQ(expected, Untimed(m_watch.OutText));
}

TEST_F(WatchCommand, AFilterShowsOnlyItsKindAndAKeyDeletedEndsTheWatch)
{
    Add({kKey, L"/f"});
    const int code = Watch({kKey, L"/t", L"name"}, [&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        Add({kKey, L"/v", L"ignored", L"/d", L"x", L"/f"});
        Add({kKey + L"\\child", L"/f"});
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        ASSERT_EQ(0, Run({L"delete", kKey, L"/f"}));
    });
    EXPECT_EQ(0, code);
    const std::vector<std::wstring> expected = {kFull + L"    key_deleted", kFull + L"\\child    key_added"};
    EXPECT_EQ(expected, Untimed(m_watch.OutText));
}

TEST_F(WatchCommand, BadArgumentsAreSyntaxErrors)
{
    Add({kKey, L"/f"});
    for (const std::vector<std::wstring>& args : std::vector<std::vector<std::wstring>>{
             {L"watch", kKey, L"/t", L"REG_SZ"}, {L"watch", kKey, L"/n", L"0"}, {L"watch", kKey, L"/n", L"x"},
             {L"watch"}, {L"watch", kKey, kKey}}) {
        SCOPED_TRACE(testing::PrintToString(args.size()));
        FakeConsole console;
        EXPECT_EQ(1, Run(args, console));
        EXPECT_EQ(L"ERROR: Invalid syntax. Type \"tessel-reg watch /?\" for usage.\n", console.ErrText);
    }
    FakeConsole missing;
    EXPECT_EQ(1, Run({L"watch", kKey + L"\\missing"}, missing));
    EXPECT_EQ(kNotFound, missing.ErrText);
}

} // namespace
} // namespace Tessel::Reg::Testing
