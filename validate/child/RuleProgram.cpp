// quillon-check-rules PACK FOLDER MODE LOAD_SECONDS RULE_SECONDS CANCEL_SECONDS MEMORY: checks rules on a
// pack.
//
// Reads cases from standard input and answers on standard output, see RuleProtocol.h. This process itself
// only waits: it forks for each case, so that a crash, a hang or memory that runs out ends that case and no
// other. With the mode "loaded" it loads the pack first, and each fork inherits it; with "plain" the case has
// to.

#include "validate/child/CCaseProcess.h"

#include "engine/errors/CEngineError.h"
#include "engine/packs/ChildAnswers.h"

#include <QuillonBase/Parallel.h>

#include <sys/prctl.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

using namespace validate;

StLimits LimitsOf(char** arguments) {
    StLimits limits;
    limits.loadSeconds = std::atof(arguments[0]);
    limits.ruleSeconds = std::atof(arguments[1]);
    limits.cancelSeconds = std::atof(arguments[2]);
    limits.memoryBytes = std::atoll(arguments[3]);
    return limits;
}

int Serve(std::FILE* answers, char** arguments) {
    const engine::CCatalogue catalogue = engine::CCatalogue::OfPack(arguments[1]);
    std::unique_ptr<engine::CPackLibrary> pack;
    if (std::string(arguments[3]) == "loaded")
        pack = std::make_unique<engine::CPackLibrary>(arguments[1]);
    StSubject subject;
    subject.packPath = arguments[1];
    subject.folder = arguments[2];
    subject.catalogue = &catalogue;
    subject.pack = pack.get();
    subject.limits = LimitsOf(arguments + 4);
    for (std::string line; std::getline(std::cin, line);) {
        const StCase one = ParseCase(line);
        subject.entry = catalogue.Find(one.plugin);
        CheckInAProcess(subject, one, answers);
    }
    return 0;
}

} // namespace

int main(int argumentCount, char** arguments) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::FILE* const answers = engine::OpenAnswers();
    if (answers == nullptr || argumentCount != 8)
        return 2;
    // Most rules compare results. That they are the same with any number of threads is a rule of its own.
    ORVEN::SetThreadCount(1);
    try {
        return Serve(answers, arguments);
    } catch (const std::exception& error) {
        std::fprintf(answers, "%s%s\n", c_broken, error.what());
        std::fflush(answers);
        return 1;
    }
}
