#pragma once

#include "support/PackHost.h"
#include "support/TraversalTools.h"

#include <sorblib2core/CException.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace test {

/// The base of a plug-in's tests: one object of the loaded pack, whose runs keep quiet.
class PluginTest : public testing::Test {
protected:
    explicit PluginTest(const char* name)
        : m_plugin(CreatePlugin(name)) {
        if (m_plugin == nullptr)
            throw std::logic_error("the pack does not serve this name");
    }

    /// Runs and returns the last line of the result's history.
    std::string Run(CPackHost& host) const {
        const CapturedOutput silence;
        host.Run(*m_plugin);
        return HistoryOf(host.Result()).back();
    }

    /// The error of a run, with its source in front; "nothing" if none is raised.
    std::string Refusal(CPackHost& host) {
        const CapturedOutput silence;
        testing::internal::CaptureStderr();
        std::string refusal = "nothing";
        try {
            host.Run(*m_plugin);
        } catch (const ORVEN::CException& raised) {
            refusal = std::string(raised.Source()) + ": " + raised.Message();
        }
        m_standardError = testing::internal::GetCapturedStderr();
        return refusal;
    }

    /// Whether the plug-in takes an image of this type and size.
    [[nodiscard]] bool Takes(const ORVEN::IImage::CType& type, const ORVEN::CSize& size) const {
        CPackHost host(std::make_unique<ORVEN::CImage>(type, size, ORVEN::CSize(0, 0, 0)));
        return m_plugin->TestParameters(host.Tree());
    }

    const std::unique_ptr<ORVEN::CPluginBase> m_plugin;
    std::string m_standardError; ///< of the last refusal
};

inline ORVEN::CValueString* Text(const std::string& text) {
    return new ORVEN::CValueString(ORVEN::CString(text));
}

/// The least and the greatest pixel that an image has on record; empty if it has none.
inline std::vector<double> RecordedMinMax(const ORVEN::IImage& image) {
    ORVEN::CValueVector recorded;
    std::vector<double> numbers;
    if (ORVEN::CQuillonHeaderTools::GetMetaInfo(image, ORVEN::CQuillonHeaderTools::c_sMetaMinMax.c_str(),
                                                recorded)) {
        for (const ORVEN::CValue* number : recorded)
            numbers.push_back(number->Double());
    }
    return numbers;
}

} // namespace test
