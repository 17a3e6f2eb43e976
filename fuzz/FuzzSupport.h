// What the fuzz targets share: a registry store of the fuzzer's own that is cleared every so many
// runs, so that it stays small and a long campaign keeps its speed, and the input's bytes as wide
// text or as pieces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

#include "KavorTesselUtils.h"

namespace Fuzz {

// Points the store at a directory that nobody else uses; prepare (may be empty) lays out what
// the target reads, again after each clearing. Call it at the start of every run.
inline void UseOwnStore(const std::function<void()>& prepare = {}, unsigned clearEvery = 500)
{
    static unsigned runs = 0;
    static const bool ready = [] {
        std::string pattern = std::string(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp") +
                              "/tessel-fuzz-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr)
            std::abort();
        setenv("TESSEL_REGISTRY_DIR", pattern.c_str(), 1);
        return true;
    }();
    (void)ready;
    if (runs++ % clearEvery != 0)
        return;
    // Every key below each stored root goes, and the roots' own values; the roots can't.
    for (const HKEY root : {HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER, HKEY_USERS}) {
        while (true) {
            std::vector<wchar_t> name(16384);
            DWORD length = static_cast<DWORD>(name.size());
            if (RegEnumValueW(root, 0, name.data(), &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS ||
                RegDeleteValueW(root, name.data()) != ERROR_SUCCESS)
                break;
        }
        std::vector<std::wstring> names;
        for (DWORD index = 0;; ++index) {
            wchar_t name[256];
            DWORD length = 256;
            if (RegEnumKeyExW(root, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
                break;
            names.emplace_back(name, length);
        }
        for (const std::wstring& name : names)
            SHDeleteKeyW(root, name.c_str());
    }
    if (prepare)
        prepare();
}

// The bytes as UTF-8 text, cut at the first NUL character.
inline std::wstring WideText(const std::uint8_t* data, std::size_t size)
{
    const int length = MultiByteToWideChar(CP_UTF8, 0, reinterpret_cast<const char*>(data), static_cast<int>(size),
                                           nullptr, 0);
    std::wstring text(static_cast<std::size_t>(length > 0 ? length : 0), L'\0');
    if (length > 0)
        MultiByteToWideChar(CP_UTF8, 0, reinterpret_cast<const char*>(data), static_cast<int>(size), text.data(),
                            length);
    text.resize(std::wcslen(text.c_str()));
    return text;
}

// Runs call; the library's own exceptions are answers, anything else is a finding.
template <class Call>
void Try(Call call)
{
    try {
        call();
    } catch (const Tessel::ExceptionBase&) {
    }
}

// Reads the input from the front: single bytes for choices, the rest as text.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : m_data(data), m_size(size) {}

    std::uint8_t Byte()
    {
        if (m_size == 0)
            return 0;
        --m_size;
        return *m_data++;
    }
    // The text up to the next byte 0x01 (or the end), which is consumed.
    std::wstring Piece()
    {
        std::size_t length = 0;
        while (length < m_size && m_data[length] != 0x01)
            ++length;
        std::wstring text = WideText(m_data, length);
        const std::size_t taken = length < m_size ? length + 1 : length;
        m_data += taken;
        m_size -= taken;
        return text;
    }
    std::wstring Rest() { return WideText(m_data, m_size); }
    std::vector<std::uint8_t> RestBytes() const { return std::vector<std::uint8_t>(m_data, m_data + m_size); }
    bool Empty() const { return m_size == 0; }

private:
    const std::uint8_t* m_data;
    std::size_t m_size;
};

} // namespace Fuzz
