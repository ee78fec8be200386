#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

// The syntax of a command line. Only CArgumentParser.cpp knows the library that parses it: that library is a
// large header, which would dominate the build of every command.

namespace cli {

/// An option or positional argument of a command, for further conditions.
class COption {
public:
    explicit COption(CLI::Option* option)
        : m_option(option) {}

    COption& Required();
    COption& OneOf(const std::vector<std::string>& words);
    COption& InRange(int least, int greatest);
    /// Refuses this option together with the other one, which must have been added before.
    COption& Excludes(const std::string& other);

private:
    CLI::Option* m_option;
};

/// One command of a program: its arguments and what it does. The values that arguments are stored in must
/// exist until the command has run.
class CCommand {
public:
    explicit CCommand(CLI::App* command)
        : m_command(command) {}

    /// A required argument without a name of its own on the command line.
    COption AddPositional(const std::string& name, std::string& value, const std::string& description);
    /// The same for one that can be left out; the value then keeps what it holds.
    COption AddOptionalPositional(const std::string& name, std::string& value,
                                  const std::string& description);
    /// One or more arguments without names of their own.
    COption AddPositionals(const std::string& name, std::vector<std::string>& values,
                           const std::string& description);
    /// The same for arguments that can be left out.
    COption AddOptionalPositionals(const std::string& name, std::vector<std::string>& values,
                                   const std::string& description);
    /// An option with one value. `names` is "--long" or "-s,--long"; `form` stands for the value in the help.
    COption AddOption(const std::string& names, std::string& value, const std::string& description,
                      const std::string& form);
    COption AddOption(const std::string& names, std::optional<std::string>& value,
                      const std::string& description, const std::string& form);
    COption AddOption(const std::string& names, int& value, const std::string& description,
                      const std::string& form);
    COption AddOption(const std::string& names, std::optional<std::int64_t>& value,
                      const std::string& description, const std::string& form);
    COption AddOption(const std::string& names, std::optional<double>& value, const std::string& description,
                      const std::string& form);
    /// An option that is repeated for several values. Each occurrence takes one value, so that it does not
    /// consume the arguments after it.
    COption AddRepeated(const std::string& names, std::vector<std::string>& values,
                        const std::string& description, const std::string& form);
    COption AddFlag(const std::string& names, bool& value, const std::string& description);

    /// The text below the options in the help.
    void SetFooter(const std::string& text);
    /// What the command does once its arguments are parsed. Exceptions pass through `CArgumentParser::Run`.
    void OnRun(std::function<void()> action);

private:
    CLI::App* m_command;
};

/// Why a command line is refused.
struct StUsageError {
    std::string message;
    std::string command;  ///< the command that was named; empty if none was
    std::string withHint; ///< the message in lines of its own, with a hint at --help
};

/// A program with commands. The option --help is always there.
class CArgumentParser {
public:
    CArgumentParser(const std::string& description, const std::string& name);
    CArgumentParser(const CArgumentParser&) = delete;
    CArgumentParser& operator=(const CArgumentParser&) = delete;
    ~CArgumentParser();

    CCommand AddCommand(const std::string& name, const std::string& description);
    /// The text that --version prints.
    void SetVersion(const std::string& text);
    void SetFooter(const std::string& text);
    /// A command line names one command; or none, unless `isRequired`.
    void TakeOneCommand(bool isRequired);

    /// Parses the command line and runs the command, or prints help or version if asked for. Prints the help
    /// of the program if no command is named. Returns the error of a command line that is refused.
    std::optional<StUsageError> Run(int argumentCount, char** arguments);

private:
    std::unique_ptr<CLI::App> m_program;
};

} // namespace cli
