#include "engine/run/StAssignment.h"

#include "engine/errors/CEngineError.h"

namespace engine {

StAssignment ParseAssignment(const std::string& text) {
    const auto equals = text.find('=');
    if (equals == std::string::npos)
        throw CCallerError("'" + text + "' is not of the form KEY=VALUE");
    StAssignment assignment;
    assignment.key = text.substr(0, equals);
    assignment.value = text.substr(equals + 1);
    if (const auto colon = assignment.key.rfind(':'); colon != std::string::npos) {
        const std::string word = assignment.key.substr(colon + 1);
        assignment.kind = KindOfWord(word);
        if (!assignment.kind)
            throw CCallerError("'" + text + "': '" + word + "' is none of the kinds " + KindWords());
        assignment.key.resize(colon);
    }
    if (("/" + assignment.key + "/").find("//") != std::string::npos)
        throw CCallerError("'" + text + "': a step of the key is empty");
    return assignment;
}

} // namespace engine
