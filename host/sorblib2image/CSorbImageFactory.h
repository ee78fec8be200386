#pragma once

#include "sorblib2image/IImage.h"

namespace ORVEN {

/// Makes images without saying of which class.
class CSorbImageFactory {
public:
    /// The one factory of the process.
    static CSorbImageFactory& Obj();

    virtual ~CSorbImageFactory();
    /// A new image of that type and size without border, all pixels zero; the caller owns it. Raises as the
    /// constructor of `CImage` does.
    virtual IImage* Create(const IImage::CType& type, const CSize& size);

    CSorbImageFactory(const CSorbImageFactory&) = delete;
    CSorbImageFactory& operator=(const CSorbImageFactory&) = delete;

protected:
    CSorbImageFactory() = default;
};

} // namespace ORVEN
