#include "QuillonIo/CCsvHeader.h"

#include "QuillonIo/CCsvOStream.h"

#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/ForEachLeaf.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <algorithm>
#include <sstream>

namespace ORVEN {

namespace {

CValueString Text(const std::string& text) { return {text.c_str(), text.size()}; }

/// Whether the path leads into a table inside a measurement: features/NAME/TABLE/...
bool IsInTableOfMeasurement(const std::string& path) {
    return path.starts_with(CQuillonHeaderTools::c_sTagFeatures + "/") &&
           std::count(path.begin(), path.end(), '/') > 2;
}

} // namespace

CCsvHeader::CCsvHeader(std::ostream& stream, char separator, char quote)
    : m_stream(stream)
    , m_separator(separator)
    , m_quote(quote) {}

void CCsvHeader::AddVersionInformation() {
    const CValueString software = Text("Quillon");
    const CValueString version = Text("version 1.0.0");
    AddLine("software", &software);
    AddLine("version", &version);
}

void CCsvHeader::AddImageAttributes(const CImage& image) {
    AddTitle("image");
    const CValueString type = Text(image.Type().ToString());
    AddLine("type", &type);
    const CSize& size = image.Size();
    const auto addExtent = [this](const char* title, std::int64_t extent) {
        const CValueDouble value(static_cast<double>(extent));
        AddLine(title, &value);
    };
    addExtent("size x", size.x);
    addExtent("size y", size.y);
    addExtent("size z", size.z);
    ForEachLeaf(&image.Attributes(), {}, [this](const std::string& path, const CValue* leaf) {
        if (!IsInTableOfMeasurement(path))
            AddLine(path, leaf);
    });
}

void CCsvHeader::AddMap(const std::string& title, const CValueMap& map) {
    AddTitle(title);
    ForEachLeaf(&map, {}, [this](const std::string& path, const CValue* leaf) { AddLine(path, leaf); });
}

void CCsvHeader::AddTitle(const std::string& title) {
    std::ostringstream line;
    CCsvOStream(line, m_separator, m_quote) << Text(title);
    m_lines.push_back(line.str());
}

void CCsvHeader::AddLine(const std::string& title, const CValue* value) {
    std::ostringstream line;
    CCsvOStream fields(line, m_separator, m_quote);
    fields << Text(title);
    if (value != nullptr)
        fields << *value;
    m_lines.push_back(line.str());
}

void CCsvHeader::Finish() {
    if (m_isFinished)
        return;
    m_isFinished = true;
    for (const std::string& line : m_lines) {
        m_stream << "# ";
        for (const char character : line) {
            if (character == '\n')
                m_stream << "\\n";
            else if (character == '\r')
                m_stream << "\\r";
            else
                m_stream << character;
        }
        m_stream << '\n';
    }
    m_stream.flush();
}

} // namespace ORVEN
