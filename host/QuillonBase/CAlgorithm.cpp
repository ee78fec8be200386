#include "QuillonBase/CAlgorithm.h"

namespace ORVEN {

CAlgorithm::CAlgorithm(const char* name, const IObject* parent)
    : m_progress(CProgressProxy::HostSink(), name != nullptr ? name : "")
    , m_parent(parent) {}

CAlgorithm::~CAlgorithm() = default;

} // namespace ORVEN
