#include "cli/arguments.h"

#include <getopt.h>

namespace {

constexpr const char* verboseOption = "verbose";

} // namespace

Arguments::Arguments(int argc, char** argv, const std::vector<Option>& options) {
    std::vector<option> known;
    known.reserve(options.size() + 2);
    for (const Option& one : options)
        known.push_back(
            {one.name.c_str(), one.value == Value::required ? required_argument : no_argument, nullptr, 1});
    known.push_back({verboseOption, no_argument, nullptr, 2});
    known.push_back({nullptr, 0, nullptr, 0});

    optind = 0; // makes getopt forget earlier calls
    opterr = 0;
    for (;;) {
        const int before = optind == 0 ? 1 : optind;
        int index = 0;
        const int found = getopt_long(argc, argv, ":", known.data(), &index);
        if (found == -1) break;
        if (found == 2) continue;
        if (found == 1) {
            m_values[options[static_cast<std::size_t>(index)].name] = optarg != nullptr ? optarg : "";
            continue;
        }
        // argv is permuted as it is read: the word at fault is the one just passed
        const std::string word = optind > before ? argv[optind - 1] : argv[before];
        m_fault = found == ':' ? "The option “" + word + "” needs a value."
                               : "“" + word + "” is no option of “" + argv[0] + "”.";
        return;
    }
    m_operands.assign(argv + optind, argv + argc);
}

std::optional<std::string> Arguments::value(const std::string& option) const {
    const auto found = m_values.find(option);
    if (found == m_values.end()) return std::nullopt;
    return found->second;
}

bool wantsLog(int argc, char** argv) {
    const option known[] = {{verboseOption, no_argument, nullptr, 2}, {nullptr, 0, nullptr, 0}};
    optind = 0;
    opterr = 0;
    for (;;) {
        const int found = getopt_long(argc, argv, "-", known, nullptr); // "-": argv keeps its order
        if (found == -1 || found == 2) return found == 2;
    }
}
