#pragma once

#include "sorblib2image/IImage.h"

#include <memory>

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

    /// Ownership of an image that `Create` made, and null for any other. An operation that is told to free
    /// what it is handed uses it to leave alone what stands on its caller's stack. It answers alike each time
    /// it is asked: who hands an image over must give up his own ownership.
    static std::unique_ptr<const IImage> TakeOver(const IImage& image) noexcept;

    CSorbImageFactory(const CSorbImageFactory&) = delete;
    CSorbImageFactory& operator=(const CSorbImageFactory&) = delete;

protected:
    CSorbImageFactory() = default;
};

} // namespace ORVEN
