#include "QuillonBase/CWorkPace.h"

namespace ORVEN {

bool CWorkPace::Ask() {
    m_work = 0;
    if (!m_isCancelled)
        m_isCancelled = m_turn != nullptr ? m_turn->IsCancelled() : m_progress->IsCancelled();
    return m_isCancelled;
}

} // namespace ORVEN
