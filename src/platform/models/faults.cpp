#include "platform/models/faults.h"

#include "platform/posix/output_file.h"

Error diskError(const std::filesystem::path& path, int errorNumber) {
    const std::string name = "“" + path.string() + "”";
    return modelError(ModelFailure::disk, isFull(errorNumber)
                                              ? "The disk is full: there is no room for " + name + "."
                                              : name + " can't be used: " +
                                                    Error::posix(errorNumber).localizedDescription() + ".");
}

void throwIfStopped(const std::stop_token& stop) {
    if (stop.stop_requested())
        throw modelError(ModelFailure::stopped, "The installation of the speech model was stopped.");
}
