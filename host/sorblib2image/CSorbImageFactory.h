#pragma once

#include "sorblib2image/IImage.h"

#include <memory>

namespace ORVEN {

/// Creates images without exposing their class.
class CSorbImageFactory {
public:
    /// The only factory of the process.
    static CSorbImageFactory& Obj();

    virtual ~CSorbImageFactory();
    /// Returns a new image of that type and size without border, with all pixels 0. The caller owns it.
    /// Raises the same errors as the constructor of `CImage`.
    virtual IImage* Create(const IImage::CType& type, const CSize& size);

    /// Returns ownership of an image that `Create` made, and null for any other image. An operation that is
    /// asked to free its argument uses this to spare images on the stack of its caller. The result is the
    /// same on every call: the previous owner must give up its ownership.
    static std::unique_ptr<const IImage> TakeOver(const IImage& image) noexcept;

    CSorbImageFactory(const CSorbImageFactory&) = delete;
    CSorbImageFactory& operator=(const CSorbImageFactory&) = delete;

protected:
    CSorbImageFactory() = default;
};

} // namespace ORVEN
