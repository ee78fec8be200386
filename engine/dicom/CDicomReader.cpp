#include "engine/dicom/DicomSlices.h"
#include "engine/files/FileErrors.h"
#include "engine/files/formats/HeaderChecks.h"
#include "engine/files/formats/HeaderGeometry.h"
#include "engine/files/formats/IDicomReader.h"
#include "engine/files/formats/SampleConversion.h"

#include <gdcmImageReader.h>
#include <gdcmTrace.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>

namespace engine {

namespace {

bool IsScaled(const StDicomSlice& slice) { return slice.scale.slope != 1 || slice.scale.intercept != 0; }

class CDicomReader : public IDicomReader {
public:
    CDicomReader() {
        // It reports on the standard streams, which belong to the program.
        gdcm::Trace::DebugOff();
        gdcm::Trace::WarningOff();
        gdcm::Trace::ErrorOff();
    }

    [[nodiscard]] StImageHeader ReadHeader(const std::string& folder) const override {
        std::vector<StDicomSlice> slices = SlicesIn(folder);
        const auto steps = ArrangeSlices(slices);
        const StDicomSlice& first = slices.front();
        StImageHeader header;
        header.format = FORMAT_DICOM;
        header.sample = std::any_of(slices.begin(), slices.end(), IsScaled) ? SAMPLE_FLOAT : first.sample;
        std::vector<std::int64_t> extents = {first.width, first.height};
        if (slices.size() > 1)
            extents.push_back(static_cast<std::int64_t>(slices.size()));
        header.size = CheckedSize(std::move(extents), SampleSize(header.sample));
        ArrangeImages(header, true);
        header.geometry.origin = first.position;
        header.geometry.isAnatomical = true;
        header.geometry.unit = "mm";
        header.hasPlace = SetSteps(header.geometry, std::span(steps).first(slices.size() > 1 ? 3 : 2));
        if (!header.hasPlace)
            throw CFileReason("its slices have no valid orientation");
        for (StDicomSlice& slice : slices)
            header.slices.push_back({std::move(slice.path), slice.sample, slice.scale});
        return header;
    }

    void ReadSamples(const StImageHeader& header, void* samples) const override {
        auto* plane = static_cast<unsigned char*>(samples);
        const auto planeBytes = header.ByteCount() / static_cast<std::int64_t>(header.slices.size());
        for (const StSliceFile& slice : header.slices) {
            Reading(slice.path, [&] { ReadSlice(slice, header, plane); });
            plane += planeBytes;
        }
    }

private:
    static void ReadSlice(const StSliceFile& slice, const StImageHeader& header, unsigned char* plane) {
        gdcm::ImageReader reader;
        reader.SetFileName(slice.path.c_str());
        const std::int64_t pixels = header.size.x * header.size.y;
        const std::int64_t bytes = pixels * SampleSize(slice.sample);
        if (!reader.Read())
            throw CFileReason("its pixels are damaged, or packed in a way that is not known");
        const gdcm::Image& image = reader.GetImage();
        if (static_cast<std::int64_t>(image.GetBufferLength()) != bytes)
            throw CFileReason("its pixels end too early");
        if (header.sample == slice.sample) {
            Unpack(image, reinterpret_cast<char*>(plane));
            return;
        }
        const auto stored =
            std::make_unique_for_overwrite<std::uint64_t[]>(static_cast<std::size_t>(bytes / 8 + 1));
        Unpack(image, reinterpret_cast<char*>(stored.get()));
        const auto scaled = ScaledSamples(stored.get(), slice.sample, pixels, slice.scale);
        std::memcpy(plane, scaled.get(), static_cast<std::size_t>(pixels) * sizeof(float));
    }

    static void Unpack(const gdcm::Image& image, char* samples) {
        if (!image.GetBuffer(samples))
            throw CFileReason("its pixels are damaged");
    }
};

} // namespace

} // namespace engine

extern "C" __attribute__((visibility("default"))) const engine::IDicomReader* QuillonDicomReader() {
    static const engine::CDicomReader reader;
    return &reader;
}
