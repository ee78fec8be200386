#pragma once

#include "engine/dialogs/CBatchDialogs.h"
#include "engine/dialogs/CGuiApplication.h"
#include "engine/files/StInputReading.h"
#include "engine/packs/CPackSet.h"
#include "engine/run/CParameterMap.h"
#include "engine/run/StRunRecord.h"

#include <QuillonBase/IProgress.h>

#include <functional>
#include <future>
#include <map>
#include <memory>
#include <string>

namespace engine {

/// A file that a run reads: its name and how it is read, for the record of the run. The hash is computed in
/// the background. Without a name it stands for an image in memory.
struct StInputFile {
    std::string name;
    StInputReading reading;
    std::shared_future<std::string> hash;
};

/// Begins the hash of an image file; call this before the image is read. Raises as `ReadImageOutline` does.
StInputFile HashedImage(const std::string& path, const StInputReading& reading = {});

/// One run of a plug-in. The references must outlive the run.
struct StPluginRun {
    std::string plugin;
    StFoundPlugin found;
    ORVEN::CValueMap& document; ///< the focused one
    CParameterMap& parameters;  ///< with their images
    CParameterMap& settings;
    StDialogAnswers answers;
    StInputFile input;
    std::map<std::string, StInputFile> images = {}; ///< among the parameters, by key; without those in memory
    bool isBare = false;                            ///< no defaults were added; for the record
    bool runsRefused = false;
    bool showsWindows = false; ///< dialogs are shown to the user instead of being answered
    /// Without dialogs no Qt application is made, and a plug-in that opens a window fails.
    bool hasDialogs = true;
    /// Capturing redirects the streams of the whole process: only one run at a time may do so.
    bool capturesOutput = true;
};

/// Makes the sink that shows the progress of a run and says whether it is cancelled. Standard output and
/// standard error are captured while it exists; `standardError` is a descriptor of the program's own.
using MakeProgress = std::function<std::unique_ptr<ORVEN::IProgress>(int standardError)>;

/// Runs the plug-in: answers its dialogs, captures what it prints, shows its progress if there is a sink, and
/// stores in the results how they were made, under the key "runs" of their attributes. What goes wrong with
/// the plug-in is in the record. Makes a Qt application unless the process has one; `onFatal` is called
/// before Qt ends a process that cannot show windows. Call it on the thread of that application. Runs that
/// neither have dialogs nor capture output can be performed on several threads at once.
StRunRecord PerformRun(StPluginRun run, const MakeProgress& makeProgress = {},
                       CGuiApplication::OnFatal onFatal = nullptr);

} // namespace engine
