#include "support/PackHost.h"

#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>

#include <dlfcn.h>

#include <stdexcept>

namespace test {

using namespace ORVEN;

const char* PackPath() { return QUILLON_PACK; }

std::unique_ptr<CPluginBase> CreatePlugin(const char* name) {
    using Factory = void* (*)(const char*);
    static const auto factory = [] {
        void* library = dlopen(PackPath(), RTLD_NOW | RTLD_LOCAL);
        void* symbol = library != nullptr ? dlsym(library, "CreatePluginInstanceEx") : nullptr;
        if (symbol == nullptr)
            throw std::runtime_error(dlerror());
        return reinterpret_cast<Factory>(symbol);
    }();
    return std::unique_ptr<CPluginBase>(static_cast<CPluginBase*>(factory(name)));
}

CPackHost::CPackHost(std::unique_ptr<CImage> image, const std::string& label)
    : m_image(std::move(image)) {
    m_document.SetEntry("content", new CValuePointer<CImage>(m_image.get(), 1));
    if (!label.empty())
        m_document.SetEntry("label", new CValueString(CString(label)));
    m_tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(&m_document, 1));
}

CPackHost& CPackHost::Set(const std::string& key, CValue* value) {
    m_tree.SetEntry("parameters/" + key, value);
    return *this;
}

void CPackHost::Run(CPluginBase& plugin) {
    m_results.clear();
    plugin.UpdateParameters(m_tree);
    plugin.GetData(m_tree);
    m_results = TakeDocuments(m_tree);
}

const CImage& CPackHost::Result(std::size_t index) const {
    return *UnwrapPointer<CImage>(m_results.at(index)->Entry("content", true));
}

std::string CPackHost::ResultLabel(std::size_t index) const {
    return m_results.at(index)->Entry("label", true)->String().Std();
}

std::vector<std::unique_ptr<CValueMap>> TakeDocuments(CValueMap& tree) {
    std::vector<std::unique_ptr<CValueMap>> documents;
    if (const CValue* added = tree.Entry("output/documents/add", true)) {
        for (CValue* value : *added->Vector())
            documents.emplace_back(UnwrapPointer<CValueMap>(value));
    }
    tree.RemoveEntry("output/documents");
    return documents;
}

std::vector<std::string> HistoryOf(const IImage& image) {
    std::vector<std::string> lines;
    if (const CValue* history = image.Attributes().Entry("history", true)) {
        for (const CValue* line : *history->Vector())
            lines.push_back(line->String().Std());
    }
    return lines;
}

} // namespace test
