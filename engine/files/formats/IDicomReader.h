#pragma once

#include "engine/files/formats/StImageHeader.h"

#include <string>

namespace engine {

/// Reads a folder with a DICOM series. The implementation is in a library of its own, `libQuillonDicom.so`
/// beside the engine's, which is loaded when the first such folder is read: it needs many libraries that
/// nothing else does.
class IDicomReader {
public:
    IDicomReader() = default;
    IDicomReader(const IDicomReader&) = delete;
    IDicomReader& operator=(const IDicomReader&) = delete;
    virtual ~IDicomReader() = default;

    /// Finds the slices, puts them in order and checks that they form one volume. Raises `CFileReason`.
    [[nodiscard]] virtual StImageHeader ReadHeader(const std::string& folder) const = 0;
    /// Reads the slices of the header, in its order, into a buffer of `header.ByteCount()` bytes.
    virtual void ReadSamples(const StImageHeader& header, void* samples) const = 0;
};

/// The function of the library that returns its reader, which lives as long as the library is loaded.
using DicomReaderFunction = const IDicomReader*();
inline constexpr const char* c_dicomReaderFunction = "QuillonDicomReader";

} // namespace engine
