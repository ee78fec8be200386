#include "src/contract/PluginTable.h"

#include "support/DialogAnswers.h"
#include "support/TestImage.h"
#include "support/TraversalTools.h"

#include <sorblib2core/CValueString.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace test {

using namespace ORVEN;

namespace {

std::string FileIn(const CTestFolder& folder) { return folder / "export.csv"; }

/// Holds back what is written to the error stream while it lives.
class CCapturedErrors {
public:
    CCapturedErrors()
        : m_before(std::cerr.rdbuf(m_text.rdbuf())) {}
    CCapturedErrors(const CCapturedErrors&) = delete;
    CCapturedErrors& operator=(const CCapturedErrors&) = delete;
    ~CCapturedErrors() { std::cerr.rdbuf(m_before); }

private:
    std::ostringstream m_text;
    std::streambuf* m_before;
};

template <class T>
std::unique_ptr<CImage> Filled(const IImage::CType& type, const CSize& size) {
    auto image = std::make_unique<CImage>(type, size, CSize(0, 0, 0));
    const bool isBinary = type == IMAGE_BINARY_FG || type == IMAGE_BINARY_BG;
    const CImageView<T> view(*image);
    for (std::int64_t z = 0; z < view.nz; ++z) {
        for (std::int64_t y = 0; y < view.ny; ++y) {
            for (std::int64_t x = 0; x < view.nx; ++x) {
                // Blocks of 4 pixels apart from each other, the middle ones of unlike grey values.
                const bool isObject =
                    x % 5 != 0 && (view.ny < 3 || y % 5 != 0) && (view.nz < 3 || z % 5 != 0);
                const std::int64_t greyValue = isObject ? 1 + (x * 3 + y * 5 + z * 7) % 40 : 0;
                view.Row(y, z)[x] = static_cast<T>(isBinary ? std::int64_t{isObject} : greyValue);
            }
        }
    }
    return image;
}

std::unique_ptr<CImage> WithRequiredAttributes(std::unique_ptr<CImage> image, const StPluginRow& row) {
    if (row.addRequiredAttributes != nullptr)
        row.addRequiredAttributes(image->Attributes());
    return image;
}

} // namespace

const std::vector<const StPluginRow*>& PluginRows() {
    static const std::vector<StPluginRow> table = MakePluginRows();
    static const std::vector<const StPluginRow*> rows = [] {
        std::vector<const StPluginRow*> pointers;
        for (const StPluginRow& row : table)
            pointers.push_back(&row);
        return pointers;
    }();
    return rows;
}

const StPluginRow& PluginRow(const std::string& name) {
    for (const StPluginRow* row : PluginRows()) {
        if (row->name == name)
            return *row;
    }
    throw std::logic_error("no plug-in of that name: " + name);
}

void PrintTo(const StPluginRow* row, std::ostream* stream) { *stream << row->name; }

CSize SizeOf(const std::vector<std::int64_t>& extents) {
    CSize size(0, 0, 0);
    size.SetDim(static_cast<int>(extents.size()));
    for (std::size_t axis = 0; axis < extents.size(); ++axis)
        size[static_cast<std::int64_t>(axis)] = extents[axis];
    return size;
}

std::unique_ptr<CImage> NormalImage(const StPluginRow& row) {
    std::vector<std::int64_t> extents{12, 11, 9};
    extents.resize(static_cast<std::size_t>(*std::ranges::max_element(row.dimensions)));
    return PatternImage(row.types.front(), SizeOf(extents));
}

std::unique_ptr<CImage> PatternImage(const IImage::CType& type, const CSize& size) {
    if (type == IMAGE_GREY_16)
        return Filled<unsigned short>(type, size);
    if (type == IMAGE_GREY_32)
        return Filled<unsigned int>(type, size);
    if (type == IMAGE_GREY_F)
        return Filled<float>(type, size);
    if (type == IMAGE_COMPLEX_F)
        return std::make_unique<CImage>(type, size, CSize(0, 0, 0));
    return Filled<unsigned char>(type, size);
}

CPluginRun::CPluginRun(const StPluginRow& row)
    : CPluginRun(row, NormalImage(row)) {}

CPluginRun::CPluginRun(const StPluginRow& row, const IImage::CType& type, const CSize& size)
    : CPluginRun(row, PatternImage(type, size)) {}

CPluginRun::CPluginRun(const StPluginRow& row, std::unique_ptr<CImage> image)
    : m_row(row)
    , m_host(WithRequiredAttributes(std::move(image), row))
    , m_plugin(CreatePlugin(row.name)) {
    if (m_plugin == nullptr)
        throw std::logic_error(std::string("the pack does not serve ") + row.name);
    if (row.setParameters != nullptr)
        row.setParameters(*this);
    if (row.window == EnWindow::FILE)
        m_folder = std::make_shared<const CTestFolder>();
}

template <class Call>
void CPluginRun::Watched(const Call& call) {
    const CapturedOutput silence;
    const CCapturedErrors noComplaints;
    if (m_row.window == EnWindow::NONE) {
        m_windows.clear();
        call();
        return;
    }
    const CDialogAnswers person(m_folder != nullptr ? FileIn(*m_folder) : std::string());
    const auto keep = [&] { m_windows = person.Seen(); };
    try {
        call();
    } catch (...) {
        keep();
        throw;
    }
    keep();
}

bool CPluginRun::Accepts() {
    bool isAccepted = false;
    Watched([&] { isAccepted = m_plugin->TestParameters(m_host.Tree()); });
    return isAccepted;
}

void CPluginRun::Run() {
    Watched([&] { m_host.Run(*m_plugin); });
}

void CPluginRun::Update() {
    Watched([&] { m_plugin->UpdateParameters(m_host.Tree()); });
}

void CPluginRun::GetData() {
    Watched([&] { m_plugin->GetData(m_host.Tree()); });
}

std::string CPluginRun::ExportedFile() const {
    if (m_folder == nullptr)
        return {};
    std::ifstream file(FileIn(*m_folder), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

CImage& CPluginRun::AddCompanion(std::unique_ptr<CImage> image) {
    m_companions.push_back(std::move(image));
    return *m_companions.back();
}

void CPluginRun::AddDocument(const std::string& key, std::unique_ptr<CImage> image,
                             const std::string& label) {
    auto document = std::make_unique<CValueMap>();
    document->SetEntry("content", new CValuePointer<CImage>(&AddCompanion(std::move(image)), 1));
    document->SetEntry("label", new CValueString(label.c_str(), label.size()));
    m_host.Tree().SetEntry("input/documents/" + key, new CValuePointer<CValueMap>(document.get(), 1));
    m_documents.push_back(std::move(document));
}

} // namespace test
