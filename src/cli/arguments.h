#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

/// The arguments of one subcommand after the GNU conventions: long options anywhere, "--option=value" or
/// "--option value", "--" ends the options. Every subcommand takes "--verbose" besides its own options; what
/// it does is not the subcommand's business (see wantsLog).
class Arguments {
  public:
    enum class Value { none, required };
    struct Option {
        std::string name; ///< without the dashes
        Value value;
    };

    /// argv[0] is the subcommand.
    Arguments(int argc, char** argv, const std::vector<Option>& options);

    /// What is wrong with the arguments, as a sentence; empty when nothing is.
    const std::string& fault() const { return m_fault; }
    bool has(const std::string& option) const { return m_values.contains(option); }
    std::optional<std::string> value(const std::string& option) const;
    const std::vector<std::string>& operands() const { return m_operands; }

  private:
    std::string m_fault;
    std::map<std::string, std::string> m_values;
    std::vector<std::string> m_operands;
};

/// Whether "--verbose" is among the arguments of a subcommand, of which argv[0] is the name: the log is then
/// to be shown on standard error. Can be asked before the subcommand's own options are known, and leaves argv
/// as it is.
bool wantsLog(int argc, char** argv);
