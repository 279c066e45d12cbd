// What every call of the C interface shares: start, errors, assertions, references.
#include "Bastel/Cmn/Cmn_Assert.h"
#include "Bastel/Cmn/Cmn_Exception.h"
#include "Bastel/Sys/Sys_FileSystem.h"
#include "Kora/C/C_Handle_p.h"
#include "Kora/Kora_Version.h"
#include "Kora/Ndo/Ndo_StDisableRecording.h"
#include "Kora/SDS/FicInterface/SDS_Error.h"
#include "Kora/SMF/SMF_Exception.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <utility>

namespace {

constexpr std::size_t cTextBytes = 512;

// Plain memory, so that to fail allocates nothing.
struct LastError
{
    kora_status mStatus = KORA_OK;
    long long mOffset = -1;
    char mText[cTextBytes] = "";
    char mFile[cTextBytes] = "";
};

// Plug-ins of one process start and end the library each on its own thread and know nothing of one another. Only the
// first and the last of them reach the library's own count, which is for one thread.
std::mutex sUsersMutex;
std::size_t sUsers = 0;

thread_local LastError tLastError;

// Cut before the character that does not fit whole.
void CopyText(char* oText, const char* iText)
{
    std::size_t size = (std::min)(std::strlen(iText), cTextBytes - 1);
    if (size == cTextBytes - 1)
        while (size > 0 && (static_cast<unsigned char>(iText[size]) & 0xC0) == 0x80)
            --size;
    std::memmove(oText, iText, size);
    oText[size] = '\0';
}

std::mutex sHandlerMutex;
kora_assert_handler sHandler = nullptr;
void* sHandlerUser = nullptr;

void HandleAssert(const char* iText, int iLine)
{
    kora_assert_handler handler;
    void* user;
    {
        const std::lock_guard lock(sHandlerMutex);
        handler = sHandler;
        user = sHandlerUser;
    }
    if (handler != nullptr) handler(user, iText, iLine);
}

// Who is on the model, how deep in callbacks, and what was released meanwhile.
struct Model
{
    std::recursive_mutex mMutex;
    int mDepth = 0;
    C_Handle* mToEnd = nullptr;
};

Model& GetModel()
{
    static Model& sModel = *new Model; // for handles that go at exit too
    return sModel;
}

C_Handle& AnyHandle(void* iHandle)
{
    C_Handle& handle = C_Out(static_cast<C_Handle*>(iHandle), "handle");
    const C_Handle::EKind kind = handle.GetKind();
    C_Require(kind >= C_Handle::eKind_Song && kind < C_Handle::eKind_End, "no handle", KORA_WRONG_HANDLE);
    return handle;
}

// What is wrong with a file's bytes is one thing, what its system refuses another.
kora_status StatusOf(const Cmn_Exception& iException)
{
    const auto error = iException.GetOSError();
    if (error == Sys_FileSystem::eError_NoMemory || error == eSDSErr_OutOfMemory) return KORA_NO_MEMORY;
    const bool isSystem = iException.GetOSError() != 0 || iException.GetMessageID() == Cmn_eMessage_OSError ||
                          iException.GetMessageID() == Cmn_eMessage_WriteError;
    return isSystem ? KORA_SYSTEM : KORA_BAD_FILE;
}

} // namespace

void C_Throw(kora_status iStatus, const char* iText) { throw C_Error(iStatus, iText); }

void C_ThrowFor(kora_status iStatus, const char* iName, const char* iWhat)
{
    throw C_Error(iStatus, std::string(iName) + iWhat);
}

kora_status C_Fail(kora_status iStatus, const char* iText, const char* iFile, long long iOffset) noexcept
{
    LastError& error = tLastError;
    error.mStatus = iStatus;
    error.mOffset = iOffset;
    CopyText(error.mText, iText);
    CopyText(error.mFile, iFile);
    return iStatus;
}

kora_status C_StatusOfException() noexcept
{
    try {
        throw;
    } catch (const C_Error& e) {
        return C_Fail(e.GetStatus(), e.what());
    } catch (const Cmn_Exception& e) {
        const kora_status status = StatusOf(e);
        try {
            return C_Fail(status, e.Describe().c_str(), e.GetFile().c_str(), e.GetOffset());
        } catch (...) {
            return C_Fail(status, e.what(), e.GetFile().c_str(), e.GetOffset());
        }
    } catch (const std::bad_alloc&) {
        return C_Fail(KORA_NO_MEMORY, "out of memory");
    } catch (const std::exception& e) {
        return C_Fail(KORA_INTERNAL, e.what());
    } catch (...) {
        return C_Fail(KORA_INTERNAL, "an unknown exception");
    }
}

void C_Handle::Release()
{
    // Acquire: what other threads did with the object before they let it go comes before its end.
    if (mCount.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    if (mKind != eKind_Song && mKind != eKind_History) return mDelete(this);
    const C_StModel model;
    mNextToEnd = std::exchange(GetModel().mToEnd, this);
}

void C_Handle::EndReleased()
{
    while (C_Handle* const handle = GetModel().mToEnd) {
        GetModel().mToEnd = handle->mNextToEnd;
        if (handle->mKind == eKind_History) {
            handle->mDelete(handle); // and perhaps its song behind it
        } else {
            const Ndo_StDisableRecording disabled; // its maps go without a notice, as they came
            handle->mDelete(handle);
        }
    }
}

C_StModel::C_StModel()
{
    GetModel().mMutex.lock();
    ++GetModel().mDepth;
}

C_StModel::~C_StModel()
{
    if (GetModel().mDepth == 1) C_Handle::EndReleased();
    --GetModel().mDepth;
    GetModel().mMutex.unlock();
}

uint32_t kora_c_version(void) { return KORA_C_VERSION_MAJOR * 65536u + KORA_C_VERSION_MINOR; }

const char* kora_version(void) { return Kora_Version::GetText(); }

kora_status kora_init(void)
{
    try {
        const std::lock_guard lock(sUsersMutex);
        if (sUsers == 0) Kora_Init::Init();
        ++sUsers;
        return KORA_OK;
    } catch (...) {
        return C_StatusOfException();
    }
}

kora_status kora_free(void)
{
    return C_Guard([] {
        const std::lock_guard lock(sUsersMutex);
        C_Require(sUsers > 0, "kora_init was not called", KORA_NOT_STARTED);
        if (--sUsers == 0) Kora_Init::Free();
    });
}

kora_status kora_last_error(kora_error* out)
{
    if (out == nullptr) return KORA_NULL_ARGUMENT;
    if (out->size < sizeof(kora_error)) return KORA_BAD_ARGUMENT;
    const LastError& error = tLastError;
    out->status = error.mStatus;
    out->offset = error.mOffset;
    out->text = error.mText;
    out->file = error.mFile;
    return KORA_OK;
}

const char* kora_last_error_text(void) { return tLastError.mText; }

const char* kora_status_name(kora_status status)
{
    static constexpr const char* cNames[] = {
        "ok",      "null argument", "wrong handle", "bad argument", "not started", "not found", "too small",
        "refused", "bad file",      "system",       "no memory",    "busy",        "internal",  "full",
    };
    const auto index = static_cast<std::size_t>(status);
    return index < std::size(cNames) ? cNames[index] : "unknown status";
}

kora_status kora_set_assert_handler(kora_assert_handler handler, void* user)
{
    {
        const std::lock_guard lock(sHandlerMutex);
        sHandler = handler;
        sHandlerUser = user;
    }
    Cmn_Assert::SetHandler(handler != nullptr ? &HandleAssert : nullptr);
    return KORA_OK;
}

kora_status kora_retain(void* handle)
{
    return C_Guard([&] { AnyHandle(handle).Retain(); });
}

kora_status kora_release(void* handle)
{
    return C_Guard([&] { AnyHandle(handle).Release(); });
}
