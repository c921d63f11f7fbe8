#pragma once

#include "speech_worker/sherpa_api.h"

#include "base/error.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>
#include <string>

/// sherpa-onnx, loaded from exactly this folder, and of exactly the version that its functions are declared
/// for. It stays loaded until the process ends, as its threads may.
class SherpaLibrary {
  public:
    /// Throws Error "engine" with a sentence that names the file.
    explicit SherpaLibrary(const std::filesystem::path& folder);

    const sherpa::Api& api() const { return m_api; }

  private:
    sherpa::Api m_api{};
};

/// Owns one of its objects; made with the function that destroys it.
template <class Object>
using SherpaHandle = std::unique_ptr<const Object, void (*)(const Object*)>;

/// Calls the library. Exceptions of what it is made of come through its C interface: they become Error
/// "engine" with the sentence `failure`, and what they say goes to standard error, for the log.
template <class Call>
auto callSherpa(const std::string& failure, const Call& call) {
    try {
        return call();
    } catch (const Error&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "%s\n", exception.what());
        throw Error("engine", 1, failure);
    }
}
