#include "base/program_part.h"

#include <system_error>

std::filesystem::path programPart(const std::filesystem::path& executableFolder,
                                  const std::filesystem::path& part) {
    std::error_code ignored;
    std::filesystem::path inBuildTree = (executableFolder / part).lexically_normal();
    if (std::filesystem::exists(inBuildTree, ignored)) return inBuildTree;
    return (executableFolder / ".." / part).lexically_normal();
}
