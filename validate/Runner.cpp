#include "validate/Runner.h"

#include "engine/catalogue/NearestWord.h"
#include "engine/errors/CEngineError.h"
#include "engine/files/InstalledFolder.h"
#include "engine/packs/CChildProcess.h"
#include "validate/child/RuleProtocol.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace validate {

using engine::CChildProcess;
using engine::StCatalogueEntry;

namespace {

/// A folder for what plug-ins export, removed with the object.
class CScratchFolder {
public:
    CScratchFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "quillon-validate-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr)
            throw engine::CFileError("cannot make a folder in '" +
                                         std::filesystem::temp_directory_path().string() + "'",
                                     engine::EnFault::MACHINE);
        m_path = pattern;
    }
    CScratchFolder(const CScratchFolder&) = delete;
    CScratchFolder& operator=(const CScratchFolder&) = delete;
    ~CScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    [[nodiscard]] const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

/// The program that checks rules, started again whenever it has ended.
class CRuleServer {
public:
    CRuleServer(const StPlan& plan, EnLevel level)
        : m_plan(plan)
        , m_level(level) {}

    /// Checks one case and fills in the outcome, what was seen and the variation.
    void Check(StResult& result) {
        if (m_process == nullptr)
            Start();
        const bool isSent = m_process->Write(result.repeated.Text());
        while (isSent) {
            std::string line;
            const auto read = m_process->Read(line, CChildProcess::Clock::now() + Patience());
            if (read != CChildProcess::EnRead::LINE)
                break;
            if (Understand(line, result))
                return;
        }
        m_process.reset();
        result.outcome = EnOutcome::BROKEN;
        result.seen = "it ended the process that watches it";
    }

private:
    void Start() {
        const std::string program = (engine::InstalledFolder() / c_ruleProgram).string();
        const StLimits& limits = m_plan.limits;
        m_process = std::make_unique<CChildProcess>(
            program,
            std::vector<std::string>{
                m_plan.packPath, m_folder.Path(), m_level == EnLevel::PLUGIN ? "loaded" : "plain",
                std::to_string(limits.loadSeconds), std::to_string(limits.ruleSeconds),
                std::to_string(limits.cancelSeconds), std::to_string(limits.memoryBytes)},
            CChildProcess::EnInput::PIPE);
        if (!m_process->IsRunning())
            throw engine::CFileError("'" + program + "' cannot be started", engine::EnFault::MACHINE);
    }

    /// Longer than the program itself waits.
    [[nodiscard]] std::chrono::seconds Patience() const {
        constexpr int slack = 60;
        return std::chrono::seconds(static_cast<int>(m_plan.limits.ruleSeconds) + slack);
    }

    /// Returns true if the line is an outcome.
    static bool Understand(const std::string& line, StResult& result) {
        const auto rest = [&line](const char* word) { return line.substr(std::strlen(word)); };
        if (line.starts_with(c_variation)) {
            result.repeated.variation = rest(c_variation);
            return false;
        }
        if (line.starts_with(c_detail)) {
            result.details.push_back(rest(c_detail));
            return false;
        }
        if (line.starts_with(c_broken)) {
            result.outcome = EnOutcome::BROKEN;
            result.seen = rest(c_broken);
        } else if (line.starts_with(c_inapplicable)) {
            result.outcome = EnOutcome::INAPPLICABLE;
            result.seen = rest(c_inapplicable);
        } else {
            result.outcome = EnOutcome::HOLDS;
        }
        return true;
    }

    const StPlan& m_plan;
    const EnLevel m_level;
    const CScratchFolder m_folder;
    std::unique_ptr<CChildProcess> m_process;
};

const engine::StDeviation* DeviationFrom(const StCatalogueEntry* entry, std::string_view rule) {
    if (entry == nullptr)
        return nullptr;
    for (const engine::StDeviation& deviation : entry->deviations) {
        if (deviation.rule == rule)
            return &deviation;
    }
    return nullptr;
}

StResult CheckOne(CRuleServer& server, const StRule& rule, const StCatalogueEntry* entry, const StCase& one) {
    StResult result;
    result.rule = &rule;
    result.repeated = one;
    server.Check(result);
    if (result.outcome != EnOutcome::BROKEN)
        result.repeated.variation = one.variation;
    const engine::StDeviation* const deviation = DeviationFrom(entry, rule.name);
    if (result.outcome == EnOutcome::BROKEN && deviation != nullptr) {
        result.outcome = EnOutcome::DECLARED;
        result.reason = deviation->reason;
    }
    return result;
}

/// The rule about deviations, from the results of the others. `check` has the one of a rule checked.
StResult CheckDeviations(const StCatalogueEntry& entry, const StCase& one,
                         const std::function<EnOutcome(const StRule&)>& check) {
    StResult result;
    result.rule = FindRule(c_deviationRule);
    result.repeated = one;
    result.outcome = entry.deviations.empty() ? EnOutcome::INAPPLICABLE : EnOutcome::HOLDS;
    result.seen = entry.deviations.empty() ? "it declares no deviations" : "";
    for (const engine::StDeviation& deviation : entry.deviations) {
        const StRule* const rule = FindRule(deviation.rule);
        if (rule == nullptr)
            result.seen =
                "the catalogue declares a deviation from '" + deviation.rule + "', which is no rule";
        else if (rule->check == nullptr || check(*rule) != EnOutcome::DECLARED)
            result.seen =
                "the catalogue declares a deviation from '" + deviation.rule + "', which is not broken";
        else
            continue;
        result.outcome = EnOutcome::BROKEN;
        break;
    }
    return result;
}

/// All rules of a level on one plug-in, or on the library for a null entry.
std::vector<StResult> CheckAll(const StPlan& plan, const StCatalogueEntry* entry) {
    const EnLevel level = entry != nullptr ? EnLevel::PLUGIN : EnLevel::LIBRARY;
    CRuleServer server(plan, level);
    std::vector<StResult> results;
    for (const StRule* rule : Rules()) {
        const StCase one{rule->name, entry != nullptr ? entry->name : plan.packName, plan.seed, ""};
        if (rule->level != level)
            continue;
        if (rule->check != nullptr) {
            results.push_back(CheckOne(server, *rule, entry, one));
            continue;
        }
        results.push_back(CheckDeviations(*entry, one, [&results](const StRule& other) {
            for (const StResult& result : results) {
                if (result.rule == &other)
                    return result.outcome;
            }
            return EnOutcome::HOLDS;
        }));
    }
    return results;
}

/// What is checked one after the other: the library, then each plug-in.
std::vector<const StCatalogueEntry*> Jobs(const StPlan& plan) {
    std::vector<const StCatalogueEntry*> jobs;
    if (plan.plugins.empty())
        jobs.push_back(nullptr);
    for (const StCatalogueEntry& entry : plan.catalogue.Entries()) {
        if (plan.plugins.empty() ||
            std::find(plan.plugins.begin(), plan.plugins.end(), entry.name) != plan.plugins.end())
            jobs.push_back(&entry);
    }
    return jobs;
}

/// Takes results in any order and hands them over in theirs. An exception is handed over in place of results.
class CInOrder {
public:
    CInOrder(std::size_t count)
        : m_results(count) {} // NOLINT(bugprone-throw-keyword-missing): it takes the vector for an exception

    void Put(std::size_t place, std::vector<StResult> results, std::exception_ptr error) {
        const std::lock_guard lock(m_mutex);
        m_results[place].emplace(std::move(results), std::move(error));
        m_hasMore.notify_all();
    }

    std::vector<StResult> Take(std::size_t place) {
        std::unique_lock lock(m_mutex);
        m_hasMore.wait(lock, [&] { return m_results[place].has_value(); });
        if (m_results[place]->second)
            std::rethrow_exception(m_results[place]->second);
        return std::move(m_results[place]->first);
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_hasMore;
    std::vector<std::optional<std::pair<std::vector<StResult>, std::exception_ptr>>> m_results;
};

const StRule& RequireRule(const std::string& name) {
    if (const StRule* rule = FindRule(name))
        return *rule;
    std::vector<std::string> names;
    for (const StRule* rule : Rules())
        names.emplace_back(rule->name);
    throw engine::CCallerError("there is no rule '" + name + "'; the nearest name is '" +
                               engine::NearestWord(name, names) + "'");
}

} // namespace

void Validate(const StPlan& plan, const OnResults& onResults) {
    const std::vector<const StCatalogueEntry*> jobs = Jobs(plan);
    CInOrder done(jobs.size());
    std::atomic<std::size_t> next{0};
    std::atomic<bool> isStopped{false};
    const auto work = [&] {
        for (std::size_t job = next++; job < jobs.size() && !isStopped; job = next++) {
            try {
                done.Put(job, CheckAll(plan, jobs[job]), nullptr);
            } catch (...) {
                done.Put(job, {}, std::current_exception());
            }
        }
    };
    std::vector<std::jthread> threads;
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    for (std::size_t i = 0; i < std::min(processors, jobs.size()); ++i)
        threads.emplace_back(work);
    try {
        for (std::size_t job = 0; job < jobs.size(); ++job)
            onResults(jobs[job] != nullptr ? jobs[job]->name : "", done.Take(job));
    } catch (...) {
        isStopped = true;
        throw;
    }
}

StResult Reproduce(const StPlan& plan, const StCase& one) {
    const StRule& rule = RequireRule(one.rule);
    const StCatalogueEntry* const entry = plan.catalogue.Find(one.plugin);
    if (rule.level == EnLevel::PLUGIN && entry == nullptr)
        throw engine::CCallerError(engine::UnknownPluginMessage(one.plugin, plan.catalogue.Names()));
    CRuleServer server(plan, rule.level);
    if (rule.check != nullptr)
        return CheckOne(server, rule, entry, one);
    return CheckDeviations(*entry, one, [&](const StRule& other) {
        return CheckOne(server, other, entry, {other.name, one.plugin, one.seed, ""}).outcome;
    });
}

} // namespace validate
