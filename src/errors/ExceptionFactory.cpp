// The registry of exception throwers: registration at start-up, and the translation of a failed
// call or a copied record into the registered class.

#include "Tessel/ExceptionFactory.h"

#include <new>
#include <utility>

#include "ComReference.h"
#include "Tessel/Exceptions.h"

namespace Tessel {

using Detail::ComReference;

namespace {

// Decides which error object describes the failure. The thread's object is taken only when the
// caller has none and the failing object, if named, vouches for it: another object's leftover
// must not be passed off as this failure's text.
void TakeErrorObject(const GUID& guid, const IErrorInfo* info, const IUnknown* source,
                     ComReference<IErrorInfo>& errorObject)
{
    if (info != nullptr) {
        errorObject.Share(const_cast<IErrorInfo*>(info));
        return;
    }
    if (source == nullptr) {
        GetErrorInfo(0, errorObject.Receive());
        return;
    }
    ComReference<ISupportErrorInfo> support;
    IUnknown* object = const_cast<IUnknown*>(source);
    if (FAILED(object->QueryInterface(IID_ISupportErrorInfo, support.ReceiveVoid())) || !support)
        return;
    if (support->InterfaceSupportsErrorInfo(guid) == S_OK)
        GetErrorInfo(0, errorObject.Receive());
}

} // namespace

ExceptionFactory::ExceptionFactory() = default;
ExceptionFactory::ExceptionFactory(const ExceptionFactory& other) = default;

ExceptionFactory::ExceptionFactory(ExceptionFactory&& other) noexcept
    : m_comThrowers(std::move(other.m_comThrowers)), m_namedThrowers(std::move(other.m_namedThrowers))
{
    // A moved-from map is valid but unspecified; the source is promised empty.
    other.m_comThrowers.clear();
    other.m_namedThrowers.clear();
}

ExceptionFactory& ExceptionFactory::operator=(const ExceptionFactory& other)
{
    if (this != &other) {
        m_comThrowers.clear();
        m_namedThrowers.clear();
        m_comThrowers = other.m_comThrowers;
        m_namedThrowers = other.m_namedThrowers;
    }
    return *this;
}

ExceptionFactory& ExceptionFactory::operator=(ExceptionFactory&& other) noexcept
{
    if (this != &other) {
        m_comThrowers.clear();
        m_namedThrowers.clear();
        m_comThrowers = std::move(other.m_comThrowers);
        m_namedThrowers = std::move(other.m_namedThrowers);
        other.m_comThrowers.clear();
        other.m_namedThrowers.clear();
    }
    return *this;
}

ExceptionFactory::~ExceptionFactory() = default;

ExceptionFactory& getExceptionFactoryInstance()
{
    static ExceptionFactory instance;
    return instance;
}

void ExceptionFactory::Register(const GUID& guid, LONG code, ExceptionThrower thrower)
{
    ExceptionFactory& factory = getExceptionFactoryInstance();
    // Unlike emplace, try_emplace promises to look the key up before it allocates: a repeat,
    // which every unit makes at start-up, must stay a no-op also when memory is short.
    try {
        factory.m_comThrowers.try_emplace(ComErrorKey{code, guid}, thrower);
    } catch (const std::bad_alloc&) {
        throw OutOfMemory(nullptr);
    }
}

void ExceptionFactory::Register(const wchar_t* name, unsigned code, ExceptionThrower thrower)
{
    ExceptionFactory& factory = getExceptionFactoryInstance();
    try {
        factory.m_namedThrowers.try_emplace(NamedErrorKey{name, code}, thrower);
    } catch (const std::bad_alloc&) {
        throw OutOfMemory(nullptr);
    }
}

ExceptionThrower ExceptionFactory::FindComThrower(const GUID& guid, LONG code) const noexcept
{
    auto found = m_comThrowers.find(ComErrorKey{code, guid});
    if (found == m_comThrowers.end())
        found = m_comThrowers.find(ComErrorKey{code, GUID_NULL});
    return found == m_comThrowers.end() ? nullptr : found->second;
}

ExceptionThrower ExceptionFactory::FindNamedThrower(const wchar_t* name, unsigned code) const noexcept
{
    const auto found = m_namedThrowers.find(NamedErrorKey{name, code});
    return found == m_namedThrowers.end() ? nullptr : found->second;
}

void ExceptionFactory::Throw(const GUID& guid, LONG code, const IErrorInfo* info, const IUnknown* source)
{
    // Success codes, S_FALSE among them, must leave the thread's error object for its reader.
    if (code >= 0)
        return;
    const ExceptionFactory& factory = getExceptionFactoryInstance();

    ComReference<IErrorInfo> errorObject;
    TakeErrorObject(guid, info, source, errorObject);

    const ExceptionThrower thrower = factory.FindComThrower(guid, code);
    // The record keeps the caller's GUID even when the class was found under GUID_NULL.
    const ErrorStorage record(code, guid, errorObject.Get());
    if (thrower == nullptr)
        throw ExceptionCOM(record);
    thrower(record);
}

void ExceptionFactory::Throw(const ErrorStorage& record)
{
    const ExceptionFactory& factory = getExceptionFactoryInstance();
    const ExceptionThrower thrower = record.HasName()
                                         ? factory.FindNamedThrower(record.GetName(), record.GetCode())
                                         : factory.FindComThrower(record.GetComGuid(), record.GetComCode());
    if (thrower != nullptr)
        thrower(record);
}

} // namespace Tessel
