#include "engine/files/formats/DicomFolder.h"

#include "engine/files/FileErrors.h"
#include "engine/files/InstalledFolder.h"
#include "engine/files/formats/IDicomReader.h"

#include <dlfcn.h>

namespace engine {

namespace {

const IDicomReader* LoadReader() {
    // It stays loaded: its libraries register themselves in places that outlive them.
    const std::string path = (InstalledFolder() / "libQuillonDicom.so").string();
    void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
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
