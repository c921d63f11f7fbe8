#include "late_module.h"

#include "base/error.h"
#include "base/program_part.h"

#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
#include <string>

namespace {

struct LibraryCloser {
    void operator()(void* library) const noexcept { dlclose(library); }
};

[[noreturn]] void fail(int code, const std::string& reason) {
    throw Error("posix", code, "A part of Murmelo cannot be loaded: " + reason + ".");
}

} // namespace

LateModule::LateModule(const std::filesystem::path& executableFolder)
    : m_path(programPart(executableFolder, "lib/murmelo/murmelo-late.so")),
      m_file(open(m_path.c_str(), O_RDONLY | O_CLOEXEC)) {}

const LateBackends& LateModule::backends() {
    const std::lock_guard lock(m_mutex);
    if (m_backends == nullptr) m_backends = &load();
    return *m_backends;
}

const LateBackends& LateModule::load() const {
    if (!m_file) fail(ENOENT, m_path.string() + " is missing");
    const std::string opened = "/proc/self/fd/" + std::to_string(m_file.get());
    std::unique_ptr<void, LibraryCloser> module(dlopen(opened.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!module) fail(ELIBACC, dlerror());
    void* const maker = dlsym(module.get(), "murmeloLateBackends");
    if (maker == nullptr) fail(ELIBBAD, m_path.string() + " is damaged");
    static_cast<void>(module.release()); // it stays
    return *reinterpret_cast<decltype(&murmeloLateBackends)>(maker)();
}
