#include "validate/rules/CRuleRun.h"

namespace validate {

bool CRuleRun::Begins(const std::string& variation) {
    if (!m_case.variation.empty() && m_case.variation != variation)
        return false;
    m_notes.Variation(variation);
    return true;
}

std::mt19937 CRuleRun::Random() const {
    // FNV-1a, because the standard library's hash may differ from one machine to the next.
    std::uint32_t hash = 0x811c9dc5;
    for (const char letter : m_case.rule + ":" + m_case.plugin)
        hash = (hash ^ static_cast<unsigned char>(letter)) * 0x01000193;
    return std::mt19937(hash ^ m_case.seed);
}

} // namespace validate
