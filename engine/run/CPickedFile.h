#pragma once

#include "engine/dialogs/CBatchDialogs.h"
#include "engine/files/CKeptFile.h"
#include "engine/run/StRunRecord.h"

#include <optional>
#include <string>

namespace engine {

/// Protects an existing file while a plug-in that asked for it in a dialog writes directly to it.
class CPickedFile {
public:
    /// Arranges for the file to be protected just before a dialog is given its name. Must outlive the run.
    CPickedFile(const std::optional<std::string>& file, StDialogAnswers& answers);
    CPickedFile(const CPickedFile&) = delete;
    CPickedFile& operator=(const CPickedFile&) = delete;

    /// Decides whether the old or the new file stays. Raises `CFileError` if the old one could not be
    /// protected or restored.
    void Settle(const StRunRecord& record);

private:
    bool Keep(const std::string& name);

    std::optional<CKeptFile> m_kept;
    std::optional<std::string> m_problem;
};

} // namespace engine
