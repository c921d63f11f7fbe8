#include "speech_worker/landlock_rules.h"

#include "platform/posix/file_handle.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr std::uint64_t rightsOfAbi1 = 2 * LANDLOCK_ACCESS_FS_MAKE_SYM - 1; // the first to the last of them
constexpr std::uint64_t rightsOfAbi2 = rightsOfAbi1 | LANDLOCK_ACCESS_FS_REFER;

constexpr const char* systemPlaces[] = {
    // the dynamic loader
    "/etc/ld.so.cache",
    "/etc/ld.so.preload",
    "/lib",
    "/lib32",
    "/lib64",
    "/usr/lib",
    "/usr/lib32",
    "/usr/lib64",
    "/usr/local/lib",
    "/usr/local/lib64",
    // the C library, whose locales and converters are among the libraries
    "/etc/localtime",
    "/usr/share/locale",
    "/usr/share/zoneinfo",
    // how many threads are worth while
    "/sys/devices/system/cpu",
};

long checked(long result) {
    if (result < 0) throw std::system_error(errno, std::generic_category());
    return result;
}

/// No function of the C library.
long createRuleset(const landlock_ruleset_attr* attributes, std::size_t size, std::uint32_t flags) {
    return checked(::syscall(SYS_landlock_create_ruleset, attributes, size, flags));
}

class Ruleset {
  public:
    Ruleset() {
        const long abi = createRuleset(nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
        landlock_ruleset_attr attributes{};
        attributes.handled_access_fs = abi >= 2 ? rightsOfAbi2 : rightsOfAbi1;
        m_ruleset = FileHandle(static_cast<int>(createRuleset(&attributes, sizeof attributes, 0)));
    }

    /// Returns what the path led to.
    FileHandle allow(const std::filesystem::path& path) {
        FileHandle place(::open(path.c_str(), O_PATH | O_CLOEXEC));
        struct stat facts{};
        if (!place || ::fstat(place.get(), &facts) != 0) return place; // what can't be reached needs no rule
        landlock_path_beneath_attr rule{};
        rule.parent_fd = place.get();
        rule.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE;
        if (S_ISDIR(facts.st_mode)) rule.allowed_access |= LANDLOCK_ACCESS_FS_READ_DIR;
        checked(::syscall(SYS_landlock_add_rule, m_ruleset.get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0));
        return place;
    }

    /// The kernel looks at where a link leads, not at where it lies.
    void allowLinksBelow(const std::filesystem::path& folder) {
        std::error_code error;
        using Entries = std::filesystem::recursive_directory_iterator;
        for (Entries entry(folder, error); !error && entry != Entries(); entry.increment(error))
            if (std::error_code ignored; entry->is_symlink(ignored)) allow(entry->path());
    }

    void apply() {
        checked(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0)); // asked for by the kernel
        checked(::syscall(SYS_landlock_restrict_self, m_ruleset.get(), 0));
    }

  private:
    FileHandle m_ruleset;
};

} // namespace

void restrictReading(std::span<const std::filesystem::path> readable) {
    Ruleset rules;
    for (const char* place : systemPlaces) rules.allow(place);
    // Open for good: once the kernel has forgotten this folder and made it anew, no rule would cover it.
    static const FileHandle self = rules.allow("/proc/self");
    for (const std::filesystem::path& place : readable) {
        rules.allow(place);
        rules.allowLinksBelow(place);
    }
    rules.apply();
}
