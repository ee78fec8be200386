// GradientMagnitudeTest PACK: runs the plug-in through the loaded pack, as a host does.

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueBool.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValuePointer.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/UnwrapPointer.h>
#include <sorblib2image/CImage.h>
#include <sorblib2image/CQuillonHeaderTools.h>
#include <sorblib2image/ImageView.h>

#include <dlfcn.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

using namespace ORVEN;

namespace {

int g_failures = 0;

void Expect(bool isTrue, const char* statement) {
    if (isTrue)
        return;
    std::fprintf(stderr, "failed: %s\n", statement);
    ++g_failures;
}

/// The plane 3 x + 4 y, with pixels of length 0.5.
std::unique_ptr<CImage> Slope() {
    auto image = std::make_unique<CImage>(IMAGE_GREY_8, CSize(8, 6), CSize(0, 0, 0));
    const CImageView<unsigned char> view(*image);
    for (std::int64_t y = 0; y < view.ny; ++y) {
        for (std::int64_t x = 0; x < view.nx; ++x)
            view.Row(y, 0)[x] = static_cast<unsigned char>(3 * x + 4 * y);
    }
    CQuillonHeaderTools::SetSpacing(*image, 0.5, 0.5, 1.0);
    return image;
}

/// Runs the plug-in and expects the same slope at every pixel.
void ExpectSlope(CPluginBase& plugin, bool usesSpacing, float expected) {
    const auto image = Slope();
    CValueMap document;
    document.SetEntry("content", new CValuePointer<CImage>(image.get(), 1));
    document.SetEntry("label", new CValueString("slope", CString::NPOS));
    CValueMap tree;
    tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(&document, 1));
    tree.SetEntry("parameters/usesSpacing", new CValueBool(usesSpacing));
    Expect(plugin.TestParameters(tree), "the plug-in takes a grey image");
    plugin.UpdateParameters(tree);
    plugin.GetData(tree);

    const std::unique_ptr<CValueMap> delivered(
        UnwrapPointer<CValueMap>(tree.Entry("output/documents/add/0", true)));
    Expect(delivered != nullptr, "it delivers a document");
    if (delivered == nullptr)
        return;
    const CImage* const result = UnwrapPointer<CImage>(delivered->Entry("content", true));
    const CImageView<const float> view(*result);
    for (std::int64_t y = 0; y < view.ny; ++y) {
        for (std::int64_t x = 0; x < view.nx; ++x)
            Expect(std::abs(view.Row(y, 0)[x] - expected) < 1e-4F, "the slope is the same everywhere");
    }
}

} // namespace

int main(int argumentCount, char** arguments) {
    void* const pack = argumentCount == 2 ? dlopen(arguments[1], RTLD_NOW) : nullptr;
    if (pack == nullptr) {
        std::fprintf(stderr, "cannot load the pack: %s\n", dlerror());
        return EXIT_FAILURE;
    }
    auto* const create = reinterpret_cast<void* (*)(const char*)>(dlsym(pack, "CreatePluginInstanceEx"));
    Expect(create("Gradient") == nullptr, "other names create nothing");
    {
        const std::unique_ptr<CPluginBase> plugin(static_cast<CPluginBase*>(create("GradientMagnitude")));
        ExpectSlope(*plugin, false, 5.0F);
        ExpectSlope(*plugin, true, 10.0F);
    }
    dlclose(pack);
    return g_failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
