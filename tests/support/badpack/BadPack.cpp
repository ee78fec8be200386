// A pack with a sound plug-in, "Scale", and one for each rule of the contract, named after the rule, which
// breaks this rule and no other. Where a library as a whole breaks a rule, its file is named after it.

#include "plugin/PluginContract.h"
#include "plugin/PluginFactory.h"

#include <QuillonBase/CAlgorithm.h>
#include <QuillonBase/Parallel.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueDouble.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/ImageView.h>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <locale>
#include <string>
#include <thread>
#include <vector>

using namespace ORVEN;
namespace contract = quillon::contract;

namespace {

// --- the library

[[maybe_unused]] void AnyFunction() {}

/// Whether the file of this library is named after the rule.
bool IsLibrary(const char* rule) {
    Dl_info info{};
    dladdr(reinterpret_cast<const void*>(&AnyFunction), &info);
    return std::string(info.dli_fname).find(rule) != std::string::npos;
}

/// How often this library was loaded into the process, which nothing in the library itself can remember.
int CountLoad() {
    const char* const before = std::getenv("BAD_PACK_LOADS");
    const int count = before != nullptr ? std::atoi(before) + 1 : 1;
    setenv("BAD_PACK_LOADS", std::to_string(count).c_str(), 1);
    return count;
}

void* WaitForEver(void* /*nothing*/) {
    for (;;)
        pause();
}

/// Starts a thread that never ends. The library stays loaded from then on, as the thread needs its code.
void StartThread() {
    Dl_info self{};
    dladdr(reinterpret_cast<const void*>(&StartThread), &self);
    dlopen(self.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    constexpr std::size_t smallStack = 65536;
    pthread_attr_setstacksize(&attributes, smallStack);
    pthread_t thread{};
    pthread_create(&thread, &attributes, WaitForEver, nullptr);
    pthread_attr_destroy(&attributes);
}

/// Allocates and frees a block, whatever the optimiser thinks of it.
[[gnu::noinline]] void UseMemory() {
    const std::vector<char> block(100);
    asm volatile("" : : "r"(block.data()) : "memory");
}

/// Loses a block of memory.
void Leak() {
    [[maybe_unused]] static char* volatile lost = nullptr;
    lost = new char[16];
}

[[gnu::constructor]] void Load() {
    const int count = CountLoad();
    if (IsLibrary("library.loads-quickly") && count <= 3)
        usleep(200000);
    if (IsLibrary("library.loads-a-hundred-times") && count == 50)
        std::abort();
    if (IsLibrary("library.unloading-leaks-nothing"))
        Leak();
    if (IsLibrary("library.starts-no-thread-when-loaded"))
        StartThread();
    if (IsLibrary("library.prints-nothing-when-loaded")) {
        std::puts("loaded");
        std::fflush(stdout);
    }
    if (IsLibrary("library.keeps-the-locale-when-loaded"))
        std::setlocale(LC_NUMERIC, "C.UTF-8");
}

// --- what plug-ins share on purpose, which they must not

double g_sharedFactor = 2.0;
int g_runs = 0;

// --- the plug-in

/// Multiplies pixels by a factor and adds an offset.
class CScale : public CPluginBase {
public:
    explicit CScale(std::string rule)
        : m_rule(std::move(rule)) {
        if (Breaks("tree.results-outlive-the-input")) { // its result is its input
            m_factor = 1.0;
            m_offset = 0;
        }
    }

    ~CScale() override {
        if (Breaks("life-cycle.can-be-destroyed-at-any-point") && m_image != nullptr)
            (void)m_image->Attributes().Size();
    }

    void GetPluginSetup(CValueMap& setup) override {
        if (!Breaks("life-cycle.setup-names-the-version"))
            contract::DescribePlugin(setup);
        if (Breaks("life-cycle.setup-stays-the-same"))
            setup.SetEntry("Runs", new CValueLong(m_completedRuns));
        if (Breaks("allocation.object-leaks-nothing"))
            Leak();
    }

    bool TestInterface(const CString& name) override {
        return Breaks("life-cycle.knows-its-interfaces") || CPluginBase::TestInterface(name);
    }

    void Configure(void* /*context*/, CValueMap& settings) override {
        const CValue* const path = settings.Entry("path", true);
        if (Breaks("life-cycle.survives-rubbish-settings") && path != nullptr && path->Map() != nullptr)
            std::abort();
    }

    void Reset() override { m_isReset = true; }

    bool TestParameters(const CValueMap& tree) override {
        ++m_tests;
        if (Breaks("life-cycle.test-never-raises") && tree.HasEntry("input", CValue::VAL_STRING))
            throw CException("Scale", "there is no input", nullptr);
        if (Breaks("allocation.failure-in-a-test-is-not-raised"))
            UseMemory();
        if (Breaks("life-cycle.test-answers-the-same") && m_tests == 2)
            return false;
        if (Breaks("life-cycle.test-refuses-trees-without-an-image") && HoldsNullImage(tree))
            return true;
        return contract::AcceptsFocusedImage(tree, [&](const CImage& image) {
            if (Breaks("life-cycle.test-changes-nothing"))
                UnwrapPointer<CValueMap>(const_cast<CValue*>(tree.Entry("input/documents/focused", true)))
                    ->SetEntry("tested", new CValueBool(true));
            return Accepts(image.Type()) && image.Size().PixelCount() > 0;
        });
    }

    void UpdateParameters(const CValueMap& tree) override;
    void GetData(CValueMap& tree) override;

private:
    [[nodiscard]] bool Breaks(const char* rule) const { return m_rule == rule; }

    static bool Accepts(const IImage::CType& type) {
        return type == IMAGE_GREY_8 || type == IMAGE_GREY_16 || type == IMAGE_GREY_F;
    }

    static bool HoldsNullImage(const CValueMap& tree) try {
        const CValue* const focused = tree.Entry("input/documents/focused", true);
        if (focused == nullptr || focused->VoidPointer() == nullptr)
            return false;
        const CValue* const content = UnwrapPointer<CValueMap>(focused)->Entry("content", true);
        return content != nullptr && content->GenericType() == CValue::VAL_POINTER &&
               content->VoidPointer() == nullptr;
    } catch (const std::bad_alloc&) {
        return false;
    }

    /// Whether the parameters are none that only a random choice has.
    [[nodiscard]] bool AreParametersPlain() const {
        return !std::isfinite(m_factor) || 2 * m_factor == std::trunc(2 * m_factor);
    }

    void CheckTree(const CValueMap& tree) const;
    void TakeDocument(const CValueMap& tree);
    void ReadParameters(const CValueMap& tree);
    void CheckImage(const CImage& image) const;
    [[nodiscard]] double Error(const CImage& image) const;
    std::unique_ptr<CImage> Run(const CImage& image);
    bool Scale(const CImage& image, CImage& result, IProgress& progress);
    std::unique_ptr<CImage> NewResult(const CImage& image);
    void AddAttributes(CImage& result, const CImage& image) const;
    void HandOver(CValueMap& tree, std::unique_ptr<CImage> image);
    void Deliver(CValueMap& tree, std::unique_ptr<CImage> image, int index);
    void ChangeWhatIsNotItsOwn(CValueMap& tree, CImage& image);
    void DoHarmToTheProcess() const;

    const std::string m_rule;
    CValueMap* m_document = nullptr;
    const CImage* m_image = nullptr;
    CImage* m_other = nullptr;
    double m_factor = 2.0;
    std::int32_t m_offset = 5;
    CString m_mode{"plain", CString::ENC_UTF8};
    CString m_note{"a", CString::ENC_UTF8};
    bool m_isReset = false;
    bool m_wasUpdated = false;
    bool m_wasCancelled = false;
    bool m_hasFailed = false;
    bool m_hasSeenText = false;
    int m_tests = 0;
    int m_completedRuns = 0;
    std::vector<std::vector<unsigned char>> m_pixels;
};

void CScale::CheckTree(const CValueMap& tree) const {
    const CValue* const focused = tree.Entry("input/documents/focused", true);
    if (Breaks("life-cycle.raises-host-exceptions-only") && focused != nullptr &&
        focused->GenericType() == CValue::VAL_STRING)
        throw std::runtime_error("this is a text");
    if (Breaks("life-cycle.survives-rubbish-parameters") &&
        tree.HasEntry("parameters/mode", CValue::VAL_VECTOR))
        std::abort();
    if (Breaks("life-cycle.survives-extreme-numbers") &&
        tree.HasEntry("parameters/factor", CValue::VAL_DOUBLE) &&
        std::isnan(tree.Entry("parameters/factor", true)->Double()))
        std::abort();
    if (Breaks("life-cycle.survives-missing-parameters") && contract::FocusedImage(tree) != nullptr &&
        !tree.HasEntry("parameters"))
        std::abort();
    if (Breaks("allocation.failure-in-an-update-is-no-crash"))
        []() noexcept { UseMemory(); }();
}

void CScale::TakeDocument(const CValueMap& tree) {
    const bool keepsFirst =
        Breaks("life-cycle.runs-the-latest-document") && contract::ImageContentOf(m_document) != nullptr;
    if (!keepsFirst)
        contract::StoreFocusedDocument(tree, m_document, contract::EnFocusTest::ANY_ENTRY);
    const CValue* const content = m_document != nullptr ? m_document->Entry("content", true) : nullptr;
    if (content == nullptr)
        return;
    m_hasSeenText = m_hasSeenText || content->GenericType() == CValue::VAL_STRING;
    if (Breaks("life-cycle.update-survives-bad-trees") && content->GenericType() == CValue::VAL_POINTER &&
        AreTypesEqual(content->ElementType(), typeid(CValueMap)))
        std::abort();
}

void CScale::ReadParameters(const CValueMap& tree) {
    if (Breaks("life-cycle.keeps-missing-parameters")) {
        m_factor = 2.0;
        m_offset = 5;
    }
    if (Breaks("tree.results-outlive-the-input"))
        return; // it has none
    contract::ReadParameter(tree, "parameters/factor", m_factor);
    contract::ReadParameter(tree, "parameters/factor", g_sharedFactor);
    contract::ReadParameter(tree, "parameters/offset", m_offset);
    contract::ReadParameter(tree, "parameters/mode", m_mode);
    contract::ReadParameter(tree, "parameters/note", m_note);
    if (tree.HasEntry("parameters/other", typeid(CValuePointer<CImage>)))
        m_other = UnwrapPointer<CImage>(const_cast<CValue*>(tree.Entry("parameters/other", true)));
    if (Breaks("truth.no-other-keys-are-read"))
        (void)tree.HasEntry("parameters/secret");
    if (Breaks("truth.other-kinds-are-no-values") && tree.HasEntry("parameters/offset", CValue::VAL_STRING))
        m_offset = 9;
}

void CScale::UpdateParameters(const CValueMap& tree) {
    CheckTree(tree);
    TakeDocument(tree);
    ReadParameters(tree);
    m_wasUpdated = true;
    m_image = contract::ImageContentOf(m_document);
}

void CScale::CheckImage(const CImage& image) const {
    const bool hasSpacing = image.Attributes().HasEntry("spacing");
    if (Breaks("image.survives-small-extents") && image.Size().PixelCount() == 0)
        std::abort();
    if (Breaks("image.survives-other-types") && image.Type() == IMAGE_COMPLEX_F && !hasSpacing)
        std::abort();
    if (Breaks("image.runs-declared-types") && image.Type() == IMAGE_GREY_16)
        throw CException("Scale", "16 bits are too many", nullptr);
    if (!Accepts(image.Type()) || image.Size().PixelCount() == 0)
        throw CException("Scale", "this image cannot be scaled", nullptr);
    if (image.Type() == IMAGE_GREY_F && Breaks("image.survives-infinity-and-nan") &&
        std::isnan(*CImageView<const float>(image).Row(0, 0)))
        std::abort();
    if (image.Type() != IMAGE_GREY_8)
        return;
    const CImageView<const unsigned char> view(image);
    const unsigned char first = *view.Row(0, 0);
    if (Breaks("image.survives-the-greatest-values") && first == 255)
        std::abort();
    bool isConstant = view.PixelCount() > 50;
    for (std::int64_t z = 0; z < view.nz && isConstant; ++z) {
        for (std::int64_t y = 0; y < view.ny && isConstant; ++y)
            isConstant = std::all_of(view.Row(y, z), view.Row(y, z) + view.nx,
                                     [first](unsigned char pixel) { return pixel == first; });
    }
    if (Breaks("image.survives-constant-images") && isConstant)
        std::abort();
}

bool HasNewMemory(unsigned char filling) {
    const std::unique_ptr<unsigned char[]> memory(new unsigned char[64]);
    asm volatile("" : : "r"(memory.get()) : "memory");
    return memory[10] == filling;
}

bool HasUnequalSpacing(const CImage& image) {
    double x = 1;
    double y = 1;
    double z = 1;
    CQuillonHeaderTools::GetSpacing(image, x, y, z);
    return x != y || x != z;
}

bool HasBorder(const CImage& image) {
    const std::unique_ptr<const IImage::IAccess> access(image.CreateAccess(false));
    Impl::LockWhole(*access, image.Size(), IImage::LOCK_READ);
    return image.Size().Dim() > 1 && access->Strides().y > image.Size().x * image.Type().PixelSize();
}

/// What is added to each pixel where a result depends on what it must not depend on.
double CScale::Error(const CImage& image) const {
    const char* const zone = std::getenv("TZ");
    const bool isWrong =
        (Breaks("life-cycle.test-changes-no-result") && m_tests > 0) ||
        (Breaks("image.border-has-no-effect") && HasBorder(image)) ||
        (Breaks("progress.changes-no-result") && CProgressProxy::HostSink() != nullptr) ||
        (Breaks("determinism.two-objects") && g_runs % 2 == 1) ||
        (Breaks("determinism.two-runs-of-an-object") && m_completedRuns > 0) ||
        (Breaks("determinism.any-number-of-threads") && ThreadCount() == 5) ||
        (Breaks("determinism.any-locale") &&
         std::use_facet<std::numpunct<char>>(std::locale()).decimal_point() == ',') ||
        (Breaks("determinism.any-working-folder") && std::filesystem::current_path() == "/") ||
        (Breaks("determinism.any-environment") && zone != nullptr && std::string(zone) == "Asia/Kolkata") ||
        (Breaks("determinism.any-content-of-new-memory") && HasNewMemory(0xA5)) ||
        (Breaks("random.two-objects-agree") && !AreParametersPlain() && g_runs % 2 == 1) ||
        (Breaks("truth.ignored-keys-have-no-effect") && m_note == "b") ||
        (Breaks("truth.spacing-is-used-as-declared") && HasUnequalSpacing(image));
    return isWrong ? 1.0 : 0.0;
}

/// Calls `scale(T)` for the type of pixel of an accepted image.
template <class Function>
auto WithPixel(const IImage::CType& type, const Function& function) {
    if (type == IMAGE_GREY_8)
        return function(std::uint8_t{});
    if (type == IMAGE_GREY_16)
        return function(std::uint16_t{});
    return function(float{});
}

template <class T>
T PixelOf(double value) {
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(value);
    else
        return static_cast<T>(std::clamp(std::isnan(value) ? 0.0 : value, 0.0,
                                         static_cast<double>(std::numeric_limits<T>::max())));
}

bool CScale::Scale(const CImage& image, CImage& result, IProgress& progress) {
    const double factor = Breaks("life-cycle.objects-are-independent") ? g_sharedFactor : m_factor;
    const double added = m_offset + Error(image);
    return WithPixel(image.Type(), [&]<class T>(T) {
        const CImageView<const T> from(image);
        const CImageView<T> to(result);
        for (std::int64_t z = 0; z < from.nz; ++z) {
            for (std::int64_t y = 0; y < from.ny; ++y) {
                if (progress.IsCancelled() && !Breaks("progress.stops-when-cancelled"))
                    return false;
                const auto scale = [&](T pixel) {
                    return PixelOf<T>(static_cast<double>(pixel) * factor + added);
                };
                std::transform(from.Row(y, z), from.Row(y, z) + from.nx, to.Row(y, z), scale);
                progress.Step(1, 0);
            }
        }
        return true;
    });
}

std::unique_ptr<CImage> CScale::NewResult(const CImage& image) {
    CSize size = image.Size();
    if (Breaks("truth.result-size-is-true"))
        ++size.x;
    if (Breaks("tree.results-outlive-the-object")) {
        m_pixels.emplace_back(static_cast<std::size_t>(size.PixelCount() * image.Type().PixelSize()));
        return std::make_unique<CImage>(image.Type(), size, m_pixels.back().data(), nullptr, nullptr,
                                        CSize(0, 0, 0));
    }
    return std::make_unique<CImage>(image.Type(), size, CSize(0, 0, 0));
}

/// A view of the input in place of a result.
std::unique_ptr<CImage> ViewOf(const CImage& image) {
    const std::unique_ptr<IImage::IAccess> access(const_cast<CImage&>(image).CreateAccess(false));
    Impl::LockWhole(*access, image.Size(), IImage::LOCK_READ_WRITE);
    return std::make_unique<CImage>(image.Type(), image.Size(), static_cast<unsigned char*>(access->Data()),
                                    nullptr, nullptr, CSize(0, 0, 0));
}

/// The result; null if the run was cancelled.
std::unique_ptr<CImage> CScale::Run(const CImage& image) {
    const CAlgorithm algorithm(nullptr, nullptr);
    IProgress& progress = algorithm.Progress();
    auto result = NewResult(image);
    if (Breaks("progress.steps-lie-in-phases"))
        progress.Step(1, 0);
    progress.Start(100, Breaks("progress.phases-have-texts") ? nullptr : "scaling");
    if (Breaks("progress.calls-on-the-calling-thread"))
        std::thread([&progress] { progress.Step(1, 0); }).join();
    if (progress.IsCancelled() && Breaks("progress.returns-wherever-it-is-cancelled"))
        WaitForEver(nullptr);
    const bool isDone = Scale(image, *result, progress);
    if (!Breaks("progress.phases-are-balanced"))
        progress.Finish();
    if (isDone)
        return result;
    m_wasCancelled = true;
    if (Breaks("progress.leaks-nothing-when-cancelled"))
        Leak();
    if (Breaks("progress.keeps-the-input-when-cancelled"))
        ++*CImageView<unsigned char>(const_cast<CImage&>(image)).Row(0, 0);
    return nullptr;
}

void CScale::AddAttributes(CImage& result, const CImage& image) const {
    if (!Breaks("tree.results-inherit-attributes")) {
        CQuillonHeaderTools::SetAttributes(result, image.Attributes());
    } else if (const CValue* history = image.Attributes().Entry("history", true)) {
        result.Attributes().SetEntry("history", history->Clone(CValue::TF_KEEP));
    }
    if (Breaks("tree.results-keep-the-history"))
        result.Attributes().RemoveEntry("history");
    if (!Breaks("tree.results-have-a-line-of-history"))
        CQuillonHeaderTools::AddToHistory(result, "scale()", 0);
}

void CScale::Deliver(CValueMap& tree, std::unique_ptr<CImage> image, int index) {
    auto way = index > 0 ? contract::EnHandOver::INTO_LIST : contract::EnHandOver::NEW_DOCUMENTS;
    if (Breaks("tree.second-run-replaces-the-first")) {
        const CValue* const list = tree.Entry("output/documents/add", true);
        way = contract::EnHandOver::INTO_LIST;
        index = list != nullptr && list->Vector() != nullptr ? static_cast<int>(list->Vector()->size()) : 0;
    }
    if (Breaks("tree.leaves-documents-to-the-host"))
        ++index;
    CImage* const delivered = image.get();
    contract::HandOver(tree, way, std::move(image), contract::LabelOf(*m_document, "unnamed"), index);
    CValueMap& document =
        *UnwrapPointer<CValueMap>(tree.Entry("output/documents/add/" + std::to_string(index), true));
    if (Breaks("tree.documents-have-a-label"))
        document.RemoveEntry("label");
    if (Breaks("tree.documents-own-their-image")) {
        document.SetEntry("owner", document.Detach("content"));
        document.SetEntry("content", new CValuePointer<CImage>(delivered, 1));
    }
}

void CScale::HandOver(CValueMap& tree, std::unique_ptr<CImage> image) {
    if (Breaks("truth.result-types-are-true") && image->Type() == IMAGE_GREY_8) {
        auto other = std::make_unique<CImage>(IMAGE_GREY_F, image->Size(), CSize(0, 0, 0));
        CQuillonHeaderTools::SetAttributes(*other, image->Attributes());
        image = std::move(other);
    }
    const bool isTwice = (Breaks("truth.delivers-as-many-as-declared") && AreParametersPlain()) ||
                         (Breaks("random.delivers-as-many-as-declared") && !AreParametersPlain());
    auto copy = isTwice ? std::make_unique<CImage>(*image) : nullptr;
    if (copy != nullptr)
        CQuillonHeaderTools::SetAttributes(*copy, image->Attributes());
    Deliver(tree, std::move(image), 0);
    if (copy != nullptr)
        Deliver(tree, std::move(copy), 1);
}

void CScale::ChangeWhatIsNotItsOwn(CValueMap& tree, CImage& image) {
    if ((Breaks("image.keeps-the-pixels") && AreParametersPlain()) ||
        (Breaks("random.keeps-the-pixels") && !AreParametersPlain()))
        WithPixel(image.Type(), [&]<class T>(T) {
            T& pixel = *CImageView<T>(image).Row(0, 0);
            pixel = static_cast<T>(pixel + 1);
            return true;
        });
    if (Breaks("image.keeps-size-and-type") && AreParametersPlain()) {
        CSize size = image.Size();
        ++size.x;
        CSize border(0, 0, 0);
        border.SetDim(size.Dim());
        image.Resize(size, border);
    }
    if (Breaks("image.keeps-other-images") && m_other != nullptr)
        m_other->Attributes().SetEntry("seen", new CValueBool(true));
    if (Breaks("image.changes-declared-attributes-only"))
        image.Attributes().SetEntry("seen", new CValueBool(true));
    if (Breaks("image.border-is-not-written") && image.Type() == IMAGE_GREY_8 && image.Size().Dim() > 1) {
        const CImageView<unsigned char> view(image);
        if (view.StrideY() > view.nx)
            view.Row(0, 0)[-1] = 7;
    }
    if (Breaks("tree.keeps-the-input"))
        tree.SetEntry("input/seen", new CValueBool(true));
    if (Breaks("tree.keeps-the-parameters"))
        tree.SetEntry("parameters/seen", new CValueBool(true));
    if (Breaks("tree.keeps-the-document"))
        m_document->SetEntry("seen", new CValueBool(true));
    if (Breaks("tree.writes-where-documented"))
        tree.SetEntry("result", new CValueBool(true));
    if (Breaks("tree.views-are-complete"))
        tree.SetEntry("output/views/create/0", new CValueMap);
}

void CScale::DoHarmToTheProcess() const {
    if (Breaks("library.prints-nothing-in-a-run"))
        std::puts("scaling");
    if (Breaks("library.leaves-no-thread-after-a-run"))
        StartThread();
    if (Breaks("library.leaves-no-open-file"))
        (void)std::fopen("/dev/null", "r");
    if (Breaks("library.keeps-the-locale-in-a-run"))
        std::setlocale(LC_NUMERIC, "C.UTF-8");
    if (Breaks("library.keeps-the-state-of-the-process"))
        umask(0077);
    if (Breaks("allocation.run-leaks-nothing"))
        Leak();
}

void CScale::GetData(CValueMap& tree) {
    if (!m_wasUpdated && Breaks("life-cycle.does-nothing-without-an-update"))
        tree.SetEntry("output/documents/add/0", new CValuePointer<CValueMap>(new CValueMap, 1));
    CImage* const image = contract::ContentOf(m_document);
    if (image == nullptr && m_document != nullptr && Breaks("life-cycle.does-nothing-without-a-document"))
        tree.SetEntry("output/documents/add/0", new CValuePointer<CValueMap>(new CValueMap, 1));
    if (image == nullptr || (Breaks("life-cycle.works-after-a-reset") && m_isReset) ||
        (Breaks("life-cycle.runs-into-any-tree") && !tree.HasEntry("input")) ||
        (Breaks("life-cycle.works-after-an-error") && m_hasSeenText) ||
        (Breaks("progress.runs-right-after-a-cancelled-run") && m_wasCancelled) ||
        (Breaks("allocation.runs-right-after-a-failure") && m_hasFailed))
        return;
    m_hasFailed = true; // until the end is reached
    if (Breaks("tree.earlier-documents-stay-the-same") && tree.HasEntry("output/documents/add/0"))
        UnwrapPointer<CValueMap>(tree.Entry("output/documents/add/0", true))->RemoveEntry("label");
    if (Breaks("tree.delivers-nothing-after-an-error") && !Accepts(image->Type()))
        Deliver(tree, std::make_unique<CImage>(IMAGE_GREY_8, CSize(1, 1), CSize(0, 0, 0)), 0);
    CheckImage(*image);
    ++g_runs;
    if (Breaks("random.runs-or-refuses") && !AreParametersPlain())
        std::abort();
    if (Breaks("allocation.failure-in-a-run-is-no-crash"))
        []() noexcept { UseMemory(); }();
    if (Breaks("allocation.failure-leaks-nothing")) {
        char* const block = new char[100];
        asm volatile("" : : "r"(block) : "memory"); // a block that nobody uses is left out
        UseMemory();
        delete[] block;
    }
    if (Breaks("truth.choices-are-accepted") && m_mode == "inverse")
        throw CException("Scale", "there is no inverse", nullptr);
    if (Breaks("truth.range-ends-are-accepted") && m_factor == 100)
        throw CException("Scale", "this is too much", nullptr);
    auto result = Run(*image);
    m_hasFailed = false;
    if (result == nullptr)
        return;
    if (Breaks("tree.results-outlive-the-input") && !HasBorder(*image))
        result = ViewOf(*image);
    AddAttributes(*result, *image);
    HandOver(tree, std::move(result));
    ChangeWhatIsNotItsOwn(tree, *image);
    DoHarmToTheProcess();
    ++m_completedRuns;
}

/// Stores a measurement in the image, for a plug-in that needs one.
class CMeasure : public CPluginBase {
public:
    bool TestParameters(const CValueMap& tree) override { return contract::FocusedImage(tree) != nullptr; }
    void UpdateParameters(const CValueMap& tree) override {
        contract::StoreFocusedDocument(tree, m_document, contract::EnFocusTest::ANY_ENTRY);
    }
    void GetData(CValueMap& /*tree*/) override {
        if (CImage* image = contract::ContentOf(m_document))
            image->Attributes().SetEntry("features/Size", new CValueDouble(1.0));
    }

private:
    CValueMap* m_document = nullptr;
};

/// Whether the text is the name of a rule, as far as a factory without a table can know.
bool IsRule(const std::string& name) {
    static const char* const groups[] = {"library.", "life-cycle.",  "tree.",       "image.", "progress.",
                                         "random.",  "determinism.", "allocation.", "truth."};
    const auto begins = [&name](const char* group) { return name.starts_with(group); };
    const bool isWord = std::all_of(name.begin(), name.end(), [](char letter) {
        return (letter >= 'a' && letter <= 'z') || letter == '.' || letter == '-';
    });
    return isWord && std::any_of(std::begin(groups), std::end(groups), begins);
}

} // namespace

/// The names that a test asks for are in the environment: the factory must know no others.
extern "C" [[gnu::visibility("default")]] void* CreatePluginInstanceEx(const char* name) {
    if (name == nullptr)
        return IsLibrary("library.creates-nothing-for-a-null-name") ? new CScale("Scale") : nullptr;
    const std::string wanted(name);
    const char* const known = std::getenv("BAD_PACK_PLUGIN");
    if (wanted == "Measure")
        return new CMeasure;
    if (wanted == "library.knows-no-other-namesx" && known != nullptr && wanted == std::string(known) + "x")
        return new CScale(known);
    const bool isKnown = wanted == "Scale" || (known != nullptr && wanted == known && IsRule(wanted));
    return isKnown && wanted != "library.creates-its-plugins" ? new CScale(wanted) : nullptr;
}

#ifdef BAD_PACK_EXPORTS_MORE
extern "C" [[gnu::visibility("default")]] int AnotherFunction() { return 0; }
#endif
