#pragma once

#include "engine/dialogs/CBatchDialogs.h"
#include "engine/dialogs/CGuiApplication.h"
#include "engine/packs/CPackSet.h"

#include <sorblib2core/CValueMap.h>
#include <sorblib2image/CImage.h>

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// What a run of a plug-in took.
struct StFigures {
    double seconds;      ///< processor time of the process
    double wallSeconds;  ///< time that passed
    double peakBytes;    ///< beyond the input
    double longestPause; ///< the longest processor time between two questions whether the run is cancelled
};

/// A plug-in of a pack and a host with one open document, described by the words of a command line:
///
///     PACK SCAN STRUCTURE EDGE TYPE PLUGIN [after=PLUGIN] [KEY=VALUE ...]
///     PACK file VOLUME EDGE TYPE PLUGIN ...
///
/// The first form makes a volume as `MakeStructure` does. The second reads one from a file without a header,
/// which can have any type. `after` names a plug-in that has to measure the volume first; KEY=volume sends
/// the volume as an image, and KEY=seeds:FILE a file of 32-bit labels.
class CPluginRun {
public:
    /// Raises `std::runtime_error` for words that make no sense; there must be six at least.
    explicit CPluginRun(const std::vector<std::string>& words);
    ~CPluginRun();

    /// Runs the plug-in. Raises `std::runtime_error` if it fails or refuses the volume. Pauses are measured
    /// only if wanted: each question then costs a system call, which adds up to a quarter of the time of a
    /// plug-in that asks for each row in several passes.
    StFigures Run(bool takesPauses);

private:
    StFigures Run(const std::string& name, const std::vector<std::string>& arguments, bool takesPauses);

    std::unique_ptr<ORVEN::CImage> m_image;
    engine::CPackSet m_packs;
    engine::CGuiApplication m_application;
    engine::CBatchDialogs m_dialogs;
    std::unique_ptr<ORVEN::CValueMap> m_document;
    std::string m_name;
    std::vector<std::string> m_arguments;
};

} // namespace bench
