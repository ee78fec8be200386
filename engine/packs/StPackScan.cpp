#include "engine/packs/StPackScan.h"

#include "engine/files/InstalledFolder.h"
#include "engine/packs/CChildProcess.h"
#include "engine/packs/PackFile.h"
#include "engine/packs/ScanProtocol.h"

#include <chrono>
#include <cstring>

namespace engine {

namespace {

constexpr std::chrono::seconds c_limit(5);

StPackScan Problem(const CFileError& error) {
    StPackScan scan;
    scan.problem = error.what();
    scan.fault = error.Fault();
    return scan;
}

/// Takes one answer. Returns true if it is the last one.
bool Understand(const std::string& line, StPackScan& scan) {
    const auto rest = [&](const char* word) { return line.substr(std::strlen(word)); };
    if (line.starts_with(c_scanProvides)) {
        scan.provided.push_back(rest(c_scanProvides));
        return false;
    }
    if (line.starts_with(c_scanUnusable))
        scan = Problem(CFileError(rest(c_scanUnusable)));
    else if (line.starts_with(c_scanMissing))
        scan = Problem(CFileError(rest(c_scanMissing), EnFault::MACHINE));
    else
        return line == c_scanUsable;
    return true;
}

} // namespace

StPackScan ScanPack(const std::string& path, const std::vector<std::string>& plugins) {
    const std::string program = (InstalledFolder() / c_scanProgram).string();
    std::vector<std::string> arguments{path};
    arguments.insert(arguments.end(), plugins.begin(), plugins.end());
    const auto end = CChildProcess::Clock::now() + c_limit;
    CChildProcess process(program, arguments, CChildProcess::EnInput::INHERITED);
    if (!process.IsRunning())
        return Problem(PackError(path, program + " cannot be started", EnFault::MACHINE));
    StPackScan scan;
    bool isComplete = false;
    auto read = CChildProcess::EnRead::LINE;
    for (std::string line; (read = process.Read(line, end)) == CChildProcess::EnRead::LINE;)
        isComplete = isComplete || Understand(line, scan);
    if (read == CChildProcess::EnRead::TIME_IS_UP || !process.Wait(end))
        return Problem(PackError(path, "it did not answer within " + std::to_string(c_limit.count()) + " s"));
    if (process.Signal() == 0 && isComplete)
        return scan;
    const std::string cause =
        process.Signal() != 0 ? std::string(" (") + strsignal(process.Signal()) + ")" : std::string();
    return Problem(PackError(path, "it crashed" + cause));
}

} // namespace engine
