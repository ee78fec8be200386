#include "cli/WritePicture.h"

#include "engine/files/CAtomicFile.h"
#include "engine/files/FileErrors.h"
#include "engine/files/formats/PngFile.h"

namespace cli {

using namespace engine;

void WritePicture(const StPicture& picture, const std::string& path) {
    StImageHeader header;
    header.format = FORMAT_PNG;
    header.size = ORVEN::CSize(picture.width, picture.height);
    header.samplesPerPixel = 3;
    CAtomicFile file(path);
    Writing(path, [&] { WritePng(file.Path(), header, picture.rgb.data()); });
    file.Commit();
}

} // namespace cli
