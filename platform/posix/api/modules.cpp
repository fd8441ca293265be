#include <dlfcn.h>
#include <link.h>
#include <unistd.h>
#include <windows.h>

#include <map>
#include <mutex>

#include "internal/call.h"
#include "internal/drive.h"
#include "internal/encoding.h"
#include "internal/last_error.h"
#include "internal/object_table.h"

namespace {

// What dlopen returned for each loaded module, once per LoadLibraryW. An HMODULE is the address at
// which the module begins, as DllMain sees it.
std::mutex g_modulesMutex;
std::multimap<HMODULE, void*> g_modules;

HMODULE ModuleOfAddress(const void* address) noexcept {
    Dl_info info = {};
    return dladdr(address, &info) != 0 ? reinterpret_cast<HMODULE>(info.dli_fbase) : nullptr;
}

void* OpenedModule(HMODULE module) {
    const std::lock_guard lock(g_modulesMutex);
    const auto found = g_modules.find(module);
    return found == g_modules.end() ? nullptr : found->second;
}

std::string LinuxFileOf(HMODULE module) {
    if (module == nullptr) {
        return compat::ProgramFile();
    }
    Dl_info info = {};
    if (dladdr(module, &info) == 0 || info.dli_fbase != module || info.dli_fname == nullptr) {
        return {};
    }
    // For the program itself the loader may have a relative name, that of the command line.
    return info.dli_fname[0] == '/' ? info.dli_fname : compat::ProgramFile();
}

}  // namespace

HMODULE LoadLibraryW(LPCWSTR name) noexcept {
    const std::string linuxPath = compat::ToLinuxPath(name).path;
    if (access(linuxPath.c_str(), F_OK) != 0) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    void* const opened = dlopen(linuxPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (opened == nullptr) {
        SetLastError(ERROR_BAD_EXE_FORMAT);
        return nullptr;
    }
    link_map* map = nullptr;
    dlinfo(opened, RTLD_DI_LINKMAP, static_cast<void*>(&map));
    const HMODULE module = ModuleOfAddress(map->l_ld);
    const std::lock_guard lock(g_modulesMutex);
    g_modules.emplace(module, opened);
    compat::CountResource(compat::Resource::module, 1);
    return module;
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name) noexcept {
    void* const opened = OpenedModule(module);
    void* const found = opened == nullptr ? nullptr : dlsym(opened, name);
    if (found == nullptr) {
        SetLastError(ERROR_PROC_NOT_FOUND);
    }
    return reinterpret_cast<FARPROC>(found);
}

BOOL FreeLibrary(HMODULE module) noexcept {
    void* opened = nullptr;
    {
        const std::lock_guard lock(g_modulesMutex);
        const auto found = g_modules.find(module);
        if (found == g_modules.end()) {
            return compat::Fail(ERROR_MOD_NOT_FOUND);
        }
        opened = found->second;
        g_modules.erase(found);
    }
    compat::CountResource(compat::Resource::module, -1);
    return dlclose(opened) == 0;
}

DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size) noexcept {
    const compat::Call call("GetModuleFileNameW", ERROR_MOD_NOT_FOUND);
    if (call.Fails()) {
        return 0;
    }
    const std::string linuxPath = LinuxFileOf(module);
    if (linuxPath.empty()) {
        return static_cast<DWORD>(compat::Fail(ERROR_MOD_NOT_FOUND));
    }
    const std::wstring path = compat::FromLinuxPath(linuxPath);
    lstrcpynW(buffer, path.c_str(), static_cast<int>(size));
    const bool fits = path.size() < size;
    SetLastError(fits ? ERROR_SUCCESS : ERROR_INSUFFICIENT_BUFFER);
    return fits ? static_cast<DWORD>(path.size()) : size;
}

BOOL DisableThreadLibraryCalls(HMODULE module) noexcept {
    const compat::Call call("DisableThreadLibraryCalls", ERROR_INVALID_HANDLE);
    if (call.Fails()) {
        return FALSE;
    }
    // There are none: modules are not notified of threads here.
    return module != nullptr;
}
