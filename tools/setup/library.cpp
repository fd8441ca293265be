#include "setup/library.h"

#include <windows.h>

#include "common/module_path.h"
#include "common/owners.h"
#include "common/text.h"
#include "rightclick/library.h"
#include "rightclick/result_text.h"
#include "setup/failure.h"

namespace setup {
namespace {

// Returns a job that ends its processes when this process ends: a registration must not go on after
// a run that was killed.
HANDLE CreateJobThatEnds() {
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}

}  // namespace

void LoadLibraryApart(const std::wstring& file, bool registers) {
    constexpr DWORD kLimit = 60'000;
    const std::wstring program = kelvaro::ReadModulePath(nullptr).path;
    std::wstring commandLine = kelvaro::Concat({L"\"", program, L"\" ", kLoadCommand, L" \"", file,
                                                L"\"", registers ? L" register" : L""});
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    const kelvaro::ScopedHandle job(CreateJobThatEnds());
    Require(CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE,
                           CREATE_NO_WINDOW, nullptr, nullptr, &startup, &started),
            "start", program);
    const kelvaro::ScopedHandle process(started.hProcess);
    const kelvaro::ScopedHandle thread(started.hThread);
    AssignProcessToJobObject(job.Get(), process.Get());
    DWORD status = ERROR_SUCCESS;
    if (WaitForSingleObject(process.Get(), kLimit) == WAIT_OBJECT_0) {
        GetExitCodeProcess(process.Get(), &status);
    } else {
        status = static_cast<DWORD>(HRESULT_FROM_WIN32(ERROR_TIMEOUT));
        TerminateProcess(process.Get(), status);
        WaitForSingleObject(process.Get(), kLimit);
    }
    if (status != ERROR_SUCCESS) {
        throw Failure(std::string("Cannot ") + (registers ? "register " : "load ") + Quoted(file) +
                      ": " + rightclick::DescribeResult(static_cast<HRESULT>(status)) + ". " +
                      (file.size() < MAX_PATH
                           ? "Unpack the archive again, or use another version of it."
                           : "The path may be too long; choose a directory with a shorter one."));
    }
}

int RunLoader(const std::wstring& file, bool registers) {
    // The process that waits reports what happens. No box and no debugger does.
    SetErrorMode(SEM_FAILCRITICALERRORS);
    SetUnhandledExceptionFilter(
        [](EXCEPTION_POINTERS*) -> LONG { return EXCEPTION_EXECUTE_HANDLER; });
    const rightclick::Library library(file);
    using Export = HRESULT(STDMETHODCALLTYPE*)();
    for (const char* const name :
         {"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"}) {
        if (!library.IsLoaded() || library.Export<Export>(name) == nullptr) {
            return HRESULT_FROM_WIN32(GetLastError());
        }
    }
    return registers ? library.Export<Export>("DllRegisterServer")() : S_OK;
}

}  // namespace setup
