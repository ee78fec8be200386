#include "engine/files/formats/DicomFolder.h"

#include "engine/files/FileErrors.h"
#include "engine/files/formats/IDicomReader.h"

#include <dlfcn.h>

#include <filesystem>

namespace engine {

namespace {

/// The library that reads DICOM, beside that of this function.
std::string LibraryPath() {
    Dl_info info{};
    const auto* const here = reinterpret_cast<const void*>(&ReadDicomHeader);
    const char* const own = dladdr(here, &info) != 0 ? info.dli_fname : "";
    return (std::filesystem::path(own).parent_path() / "libQuillonDicom.so").string();
}

const IDicomReader* LoadReader() {
    // It stays loaded: its libraries register themselves in places that outlive them.
    void* const library = dlopen(LibraryPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw CFileReason(std::string("the library that reads DICOM cannot be loaded: ") + dlerror(),
                          EnFault::MACHINE);
    auto* const function = reinterpret_cast<DicomReaderFunction*>(dlsym(library, c_dicomReaderFunction));
    if (function == nullptr)
        throw CFileReason("the library that reads DICOM is not of this program", EnFault::MACHINE);
    return function();
}

const IDicomReader& Reader() {
    static const IDicomReader* const reader = LoadReader();
    return *reader;
}

} // namespace

StImageHeader ReadDicomHeader(const std::string& folder) { return Reader().ReadHeader(folder); }

void ReadDicomSamples(const StImageHeader& header, void* samples) { Reader().ReadSamples(header, samples); }

} // namespace engine
