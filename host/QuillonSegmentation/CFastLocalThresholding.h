#pragma once

#include <QuillonBase/CAlgorithm.h>
#include <sorblib2image/IImage.h>

#include <cstdint>

namespace ORVEN {

class CFastLocalThresholding : public CAlgorithm {
public:
    CFastLocalThresholding(const char* name, const IObject* parent);

    void Binarize(IImage& output, const IImage& input);

    std::int32_t m_nWindowSize = 7;
    double m_fCoefficient = -0.1;
    std::int32_t m_nMethod = 0;
};

} // namespace ORVEN
