#include "engine/run/CPickedFile.h"

#include "engine/errors/CEngineError.h"

namespace engine {

CPickedFile::CPickedFile(const std::optional<std::string>& file, StDialogAnswers& answers) {
    if (file)
        answers.beforeSaving = [this, name = *file] { return Keep(name); };
}

void CPickedFile::Settle(const StRunRecord& record) {
    if (m_problem)
        throw CFileError(*m_problem);
    if (!m_kept)
        return;
    // A plug-in that warns of an empty table still means to leave the new file if there was none before.
    const bool isMeant = record.errorBox && record.errorBox->kind == "warning" && !m_kept->HasOld();
    if (HasResults(record) && (!record.errorBox || isMeant))
        m_kept->Release();
    else
        m_kept->Restore();
}

bool CPickedFile::Keep(const std::string& name) {
    try {
        m_kept.emplace(name);
        return true;
    } catch (const CFileError& error) {
        m_problem = error.what();
        return false;
    }
}

} // namespace engine
