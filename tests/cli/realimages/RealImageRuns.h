#pragma once

#include "engine/files/ImageFile.h"
#include "support/CommandLine.h"
#include "support/TestImage.h"

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueVector.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

/// Plug-ins of the pack, from file to file on a real image, as a person runs them.
namespace test {

inline std::string DataFile(const std::string& name) { return QUILLON_TEST_DATA "/" + name; }

/// One plug-in run from file to file: what was written, and the report.
struct StRun {
    std::unique_ptr<ORVEN::CImage> image;
    nlohmann::json report;
};

inline StRun RunOnPath(const std::string& plugin, const std::string& path, const std::string& output,
                       const std::vector<std::string>& parameters) {
    const CTestFolder folder;
    const std::string report = folder / "report.json";
    std::vector<std::string> arguments{"run", plugin, path, "-o", output, "--report", report};
    for (const std::string& parameter : parameters)
        arguments.insert(arguments.end(), {"-p", parameter});
    const StEnd end = Quillon(arguments);
    EXPECT_EQ(end.status, 0) << end.err;
    EXPECT_TRUE(end.err.empty() || end.err.starts_with("quillon: note: ")) << end.err;
    return {engine::ReadImage(output), nlohmann::json::parse(ReadText(report))};
}

inline StRun RunOnFile(const std::string& plugin, const std::string& file,
                       const std::vector<std::string>& parameters) {
    const CTestFolder folder;
    return RunOnPath(plugin, DataFile(file), folder / "out.nrrd", parameters);
}

inline std::vector<std::string> HistoryOf(const ORVEN::CImage& image) {
    std::vector<std::string> lines;
    for (const ORVEN::CValue* line : *image.Attributes().Entry("history", true)->Vector())
        lines.push_back(line->String().Std());
    return lines;
}

inline double ForegroundOf(const ORVEN::CImage& image) {
    const auto pixels = PixelsOf<unsigned char>(image);
    return static_cast<double>(std::count(pixels.begin(), pixels.end(), 1)) /
           static_cast<double>(pixels.size());
}

/// The solid of the cement, in a file of a folder of its own.
class CementSolid : public testing::Test {
protected:
    CementSolid()
        : m_solid(RunOnPath("SegmNiblack", DataFile("cement_pores_128.nrrd"), Path(),
                            {"windowsize=20", "coefficient=-0.8"})
                      .image) {}

    [[nodiscard]] std::string Path() const { return m_folder / "solid.nrrd"; }

    [[nodiscard]] StRun Run(const std::string& plugin, const std::vector<std::string>& parameters) const {
        return RunOnPath(plugin, Path(), m_folder / "out.nrrd", parameters);
    }

    CTestFolder m_folder;
    std::unique_ptr<ORVEN::CImage> m_solid;
};

} // namespace test
