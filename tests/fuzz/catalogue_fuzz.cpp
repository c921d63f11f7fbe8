// Any text whatsoever as the catalogue of models: it is refused with an error, or every model in it reads
// back as it was written, and none has a name that is more than a name.

#include "models/model_catalogue.h"

#include "base/error.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    try {
        for (const Model& model : parseCatalogue({reinterpret_cast<const char*>(bytes), count})) {
            if (parseModel(modelText(model)) != model) std::abort();
            if (model.id.find('/') != model.id.npos || model.id.front() == '.') std::abort();
        }
    } catch (const Error&) { // refused
    }
    return 0;
}
