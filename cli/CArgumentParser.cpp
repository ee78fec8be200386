#include "cli/CArgumentParser.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <sstream>
#include <utility>

namespace cli {

COption& COption::Required() {
    m_option->required();
    return *this;
}

COption& COption::OneOf(const std::vector<std::string>& words) {
    m_option->check(CLI::IsMember(words));
    return *this;
}

COption& COption::InRange(int least, int greatest) {
    m_option->check(CLI::Range(least, greatest));
    return *this;
}

COption& COption::Excludes(const std::string& other) {
    m_option->excludes(other);
    return *this;
}

COption CCommand::AddPositional(const std::string& name, std::string& value, const std::string& description) {
    return COption(m_command->add_option(name, value, description)->required()->option_text(" "));
}

COption CCommand::AddOptionalPositional(const std::string& name, std::string& value,
                                        const std::string& description) {
    return COption(m_command->add_option(name, value, description)->option_text(" "));
}

COption CCommand::AddPositionals(const std::string& name, std::vector<std::string>& values,
                                 const std::string& description) {
    return COption(m_command->add_option(name, values, description)->required()->option_text(" "));
}

COption CCommand::AddOptionalPositionals(const std::string& name, std::vector<std::string>& values,
                                         const std::string& description) {
    return COption(m_command->add_option(name, values, description)->option_text(" "));
}

COption CCommand::AddOption(const std::string& names, std::string& value, const std::string& description,
                            const std::string& form) {
    return COption(m_command->add_option(names, value, description)->option_text(form));
}

COption CCommand::AddOption(const std::string& names, std::optional<std::string>& value,
                            const std::string& description, const std::string& form) {
    return COption(m_command->add_option(names, value, description)->option_text(form));
}

COption CCommand::AddOption(const std::string& names, int& value, const std::string& description,
                            const std::string& form) {
    return COption(m_command->add_option(names, value, description)->option_text(form));
}

COption CCommand::AddOption(const std::string& names, std::optional<std::int64_t>& value,
                            const std::string& description, const std::string& form) {
    return COption(m_command->add_option(names, value, description)->option_text(form));
}

COption CCommand::AddOption(const std::string& names, std::optional<double>& value,
                            const std::string& description, const std::string& form) {
    return COption(m_command->add_option(names, value, description)->option_text(form));
}

COption CCommand::AddRepeated(const std::string& names, std::vector<std::string>& values,
                              const std::string& description, const std::string& form) {
    return COption(m_command->add_option(names, values, description)
                       ->allow_extra_args(false)
                       ->option_text(form + " ..."));
}

COption CCommand::AddFlag(const std::string& names, bool& value, const std::string& description) {
    return COption(m_command->add_flag(names, value, description));
}

void CCommand::SetFooter(const std::string& text) { m_command->footer(text); }

void CCommand::OnRun(std::function<void()> action) { m_command->callback(std::move(action)); }

CArgumentParser::CArgumentParser(const std::string& description, const std::string& name)
    : m_program(std::make_unique<CLI::App>(description, name)) {}

CArgumentParser::~CArgumentParser() = default;

CCommand CArgumentParser::AddCommand(const std::string& name, const std::string& description) {
    return CCommand(m_program->add_subcommand(name, description));
}

void CArgumentParser::SetVersion(const std::string& text) { m_program->set_version_flag("--version", text); }

void CArgumentParser::SetFooter(const std::string& text) { m_program->footer(text); }

void CArgumentParser::TakeOneCommand(bool isRequired) {
    m_program->require_subcommand(isRequired ? 1 : 0, 1);
}

std::optional<StUsageError> CArgumentParser::Run(int argumentCount, char** arguments) {
    try {
        m_program->parse(argumentCount, arguments);
        if (m_program->get_subcommands().empty())
            std::fputs(m_program->help().c_str(), stdout);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        // The library raises help and version as errors, too.
        if (error.get_exit_code() == 0) {
            m_program->exit(error);
            return std::nullopt;
        }
        const auto commands = m_program->get_subcommands();
        std::ostringstream text;
        m_program->exit(error, text, text);
        return StUsageError{error.what(), commands.empty() ? "" : commands.front()->get_name(), text.str()};
    }
}

} // namespace cli
