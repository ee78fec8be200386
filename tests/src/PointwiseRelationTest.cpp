// The plug-in of the loaded pack; what it has to say stands in the box that it opens.

#include "support/PackHost.h"
#include "support/QtTest.h"
#include "support/Raised.h"
#include "support/TestImage.h"
#include "support/TraversalTools.h"

#include <QuillonBase/CProgressProxy.h>
#include <sorblib2core/CException.h>
#include <sorblib2core/CValuePointer.h>
#include <sorblib2image/CQuillonHeaderTools.h>

#include <QMessageBox>

#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;

using Image = std::unique_ptr<CImage>;

constexpr float c_nan = std::numeric_limits<float>::quiet_NaN();

Image Floats(const std::vector<float>& pixels) {
    return test::ImageOf(IMAGE_GREY_F, CSize(static_cast<std::int64_t>(pixels.size()), 1), pixels);
}

Image Bytes(const std::vector<unsigned char>& pixels, const IImage::CType& type = IMAGE_GREY_8) {
    return test::ImageOf(type, CSize(static_cast<std::int64_t>(pixels.size()), 1), pixels);
}

class PointwiseRelation : public test::QtTest {
protected:
    /// The text that the box shows; empty if none is shown.
    std::string Compare(Image a, const CImage& b) {
        test::CPackHost host(std::move(a));
        host.Set("Image2", new CValuePointer<CImage>(const_cast<CImage*>(&b), 1));
        return Run(host);
    }

    std::string Run(test::CPackHost& host) {
        m_plugin->UpdateParameters(host.Tree());
        return RunAsItIs(host);
    }

    /// The same after earlier calls have set the plug-in's members.
    std::string RunAsItIs(test::CPackHost& host) {
        std::string text;
        AnswerNextDialog([this, &text](QDialog& dialog) {
            const auto& box = dynamic_cast<QMessageBox&>(dialog);
            EXPECT_EQ(box.windowTitle(), "PointwiseRelation");
            EXPECT_EQ(box.icon(), QMessageBox::Information);
            EXPECT_EQ(QApplication::overrideCursor(), nullptr) << "nothing is waited for any more";
            EXPECT_EQ(box.standardButtons(), QMessageBox::Ok);
            m_isBoxPlain = box.textFormat() == Qt::PlainText;
            text = box.text().toStdString();
            dialog.accept();
        });
        const test::CapturedOutput silence;
        m_plugin->GetData(host.Tree());
        return text;
    }

    std::unique_ptr<CPluginBase> m_plugin = test::CreatePlugin("PointwiseRelation");
    bool m_isBoxPlain = false;
};

const char* const c_floatHeader = " - same pixel types 'IMAGE_GREY_F'\n"
                                  " - same image sizes (3,1)\n"
                                  " - same pixel sizes (1,1)\n"
                                  " - same physical extension (3,1) m^2\n";

TEST_F(PointwiseRelation, ReportsTheRelationFirstAndTheHeadersLast) {
    EXPECT_EQ(Compare(Floats({1, 2, 4}), *Floats({1, 3, 2.5F})),
              std::string("\n"
                          " - images have no pointwise relation\n"
                          "# a == b : 1\n"
                          "# a >  b : 1\n"
                          "# a <  b : 1\n"
                          "# a <= b : 2\n"
                          "# a >= b : 2\n"
                          "# a nan b: 0\n"
                          "# nan(a) : 0\n"
                          "# nan(b) : 0\n"
                          "mindiff  : 1\n"
                          "maxdiff  : 1.5\n") +
                  c_floatHeader);
}

TEST_F(PointwiseRelation, EqualNaNCountAsEqualButNotAsLowerOrEqual) {
    EXPECT_EQ(Compare(Floats({1, c_nan, 3}), *Floats({1, c_nan, 3})),
              std::string("\n"
                          " - image a is pointwise equal to image b\n"
                          "# a == b : 3\n"
                          "# a >  b : 0\n"
                          "# a <  b : 0\n"
                          "# a <= b : 2\n"
                          "# a >= b : 2\n"
                          "# a nan b: 0\n"
                          "# nan(a) : 1\n"
                          "# nan(b) : 1\n"
                          "mindiff  : 0\n"
                          "maxdiff  : 0\n") +
                  c_floatHeader);
}

TEST_F(PointwiseRelation, ANaNAtOneSideOnlyLeavesNoRelationAndNoLeastDifference) {
    EXPECT_EQ(Compare(Floats({1, c_nan, 3}), *Floats({1, 2, 3})),
              std::string("\n"
                          " - images have no pointwise relation\n"
                          "# a == b : 2\n"
                          "# a >  b : 0\n"
                          "# a <  b : 0\n"
                          "# a <= b : 2\n"
                          "# a >= b : 2\n"
                          "# a nan b: 1\n"
                          "# nan(a) : 1\n"
                          "# nan(b) : 0\n"
                          "mindiff  : 1.79769e+308\n"
                          "maxdiff  : 0\n") +
                  c_floatHeader);
}

/// The line of the verdict.
std::string VerdictOf(const std::string& text) { return text.substr(1, text.find('\n', 1)); }

TEST_F(PointwiseRelation, GreaterEverywhereIsGreaterAndNotGreaterOrEqual) {
    EXPECT_EQ(VerdictOf(Compare(Bytes({2, 3}), *Bytes({1, 1}))),
              " - image a is pointwise greater then image b\n");
    EXPECT_EQ(VerdictOf(Compare(Bytes({1, 1}), *Bytes({2, 3}))),
              " - image a is pointwise lower then image b\n");
}

TEST_F(PointwiseRelation, SomeEqualAndSomeGreaterIsGreaterOrEqual) {
    EXPECT_EQ(VerdictOf(Compare(Bytes({2, 3}), *Bytes({1, 3}))),
              " - image a is pointwise greater/equal then image b\n");
    EXPECT_EQ(VerdictOf(Compare(Bytes({1, 3}), *Bytes({2, 3}))),
              " - image a is pointwise lower/equal then image b\n");
}

TEST_F(PointwiseRelation, ComparesImagesOfDifferentTypes) {
    const std::string text = Compare(Bytes({1, 2}), *Floats({1, 2}));
    EXPECT_EQ(VerdictOf(text), " - image a is pointwise equal to image b\n");
    EXPECT_NE(text.find(" - different pixel types 'IMAGE_GREY_8' and 'IMAGE_GREY_F'\n"), std::string::npos);
}

TEST_F(PointwiseRelation, ImagesOfDifferentDimensionsGetTwoLines) {
    const CImage volume(IMAGE_GREY_8, CSize(2, 1, 1), CSize(0, 0, 0));
    EXPECT_EQ(Compare(Bytes({1, 2}), volume), " - same pixel types 'IMAGE_GREY_8'\n"
                                              " - different image sizes (2,1) and (2,1,1)\n");
}

TEST_F(PointwiseRelation, ImagesOfDifferentSizesGetFourLinesOfWhichTheLastLacksABracket) {
    auto b = Bytes({1, 2, 3});
    CQuillonHeaderTools::SetSpacing(*b, 0.5, 0.25, 1.0);
    EXPECT_EQ(Compare(Bytes({1, 2}), *b), " - same pixel types 'IMAGE_GREY_8'\n"
                                          " - different image sizes (2,1) and (3,1)\n"
                                          " - different pixel sizes (1,1) and (0.5,0.25)\n"
                                          " - different physical extension (2,1) and (1.5,0.25 m^2\n");
}

TEST_F(PointwiseRelation, ReportsThreeFiguresInThreeDimensions) {
    Image a = std::make_unique<CImage>(IMAGE_GREY_8, CSize(2, 3, 4), CSize(0, 0, 0));
    const CImage b(IMAGE_GREY_8, CSize(2, 3, 4), CSize(0, 0, 0));
    CQuillonHeaderTools::SetSpacing(*a, 1.0 / 3.0, 2.0, 1e-7);
    const std::string text = Compare(std::move(a), b);
    EXPECT_NE(text.find(" - different pixel sizes (0.333333,2,1e-07) and (1,1,1)\n"
                        " - different physical extension (0.666667,6,4e-07) and (2,3,4 m^3\n"),
              std::string::npos)
        << text;
}

TEST_F(PointwiseRelation, SpacingsThatDifferByNoMoreThanTheDoubleEpsilonAreTheSame) {
    Image a = Bytes({1, 2});
    Image b = Bytes({1, 2});
    const double epsilon = std::numeric_limits<double>::epsilon();
    CQuillonHeaderTools::SetSpacing(*a, 1.0, 1.0, 1.0);
    CQuillonHeaderTools::SetSpacing(*b, 1.0 + epsilon, 1.0, 1.0);
    const std::string text = Compare(std::move(a), *b);
    EXPECT_NE(text.find(" - same pixel sizes (1,1)\n"), std::string::npos);
    EXPECT_NE(text.find(" - different physical extension (2,1) and (2,1 m^2\n"), std::string::npos)
        << "twice the difference exceeds it: the test is absolute";
}

TEST_F(PointwiseRelation, LargeIntegersCanEqualAFloatThatTheyAreNot) {
    const auto integers = test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(2, 1), {16777217, 16777216});
    const std::string text = Compare(Floats({16777216, 16777216}), *integers);
    EXPECT_EQ(VerdictOf(text), " - image a is pointwise equal to image b\n");
}

TEST_F(PointwiseRelation, IntegersAreComparedAsIntegersAndDifferencesAreExact) {
    const auto b = test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(2, 1), {4294967294, 0});
    const std::string text =
        Compare(test::ImageOf<unsigned int>(IMAGE_GREY_32, CSize(2, 1), {4294967295, 0}), *b);
    EXPECT_EQ(VerdictOf(text), " - image a is pointwise greater/equal then image b\n");
    EXPECT_NE(text.find("mindiff  : 1\nmaxdiff  : 1\n"), std::string::npos);
}

/// An image of 7 and one of 9 everywhere, of each type.
std::vector<Image> OfAllTypes(unsigned char value) {
    std::vector<Image> images;
    const auto size = CSize(2, 2, 2);
    images.push_back(test::ImageOf(IMAGE_GREY_F, size, std::vector<float>(8, value)));
    images.push_back(test::ImageOf(IMAGE_GREY_32, size, std::vector<unsigned int>(8, value)));
    images.push_back(test::ImageOf(IMAGE_GREY_16, size, std::vector<unsigned short>(8, value)));
    images.push_back(test::ImageOf(IMAGE_GREY_8, size, std::vector<unsigned char>(8, value)));
    images.push_back(test::ImageOf(IMAGE_BINARY_FG, size, std::vector<unsigned char>(8, value)));
    return images;
}

TEST_F(PointwiseRelation, ComparesAll25PairsOfTypes) {
    const std::vector<Image> nines = OfAllTypes(9);
    for (const Image& b : nines) {
        for (Image& a : OfAllTypes(7)) {
            const std::string pair = std::string(a->Type().ToString()) + " " + b->Type().ToString();
            const std::string text = Compare(std::move(a), *b);
            EXPECT_EQ(VerdictOf(text), " - image a is pointwise lower then image b\n") << pair;
            EXPECT_NE(text.find("# a <  b : 8\n"), std::string::npos) << pair;
            EXPECT_NE(text.find("mindiff  : 2\nmaxdiff  : 2\n"), std::string::npos) << pair;
        }
    }
}

TEST_F(PointwiseRelation, AComplexImageIsTakenAndThenRefused) {
    const CSize size(2, 2);
    test::CPackHost host(std::make_unique<CImage>(IMAGE_COMPLEX_F, size, CSize(0, 0)));
    const CImage other(IMAGE_COMPLEX_F, size, CSize(0, 0));
    host.Set("Image2", new CValuePointer<CImage>(const_cast<CImage*>(&other), 1));
    EXPECT_TRUE(m_plugin->TestParameters(host.Tree()));
    const auto raised = test::Raised<CException>([&] { host.Run(*m_plugin); });
    EXPECT_STREQ(raised.Source(), "GetRelationStringGrayvalues");
    EXPECT_STREQ(raised.Message(), "Image type IMAGE_COMPLEX_F not supported.");
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(PointwiseRelation, ShowsNothingWithoutBothImages) {
    test::CPackHost host(Bytes({1, 2}));
    EXPECT_EQ(Run(host), "") << "no second image";
    const CImage other(IMAGE_GREY_8, CSize(2, 1), CSize(0, 0));
    host.Set("Image2", new CValuePointer<CImage>(const_cast<CImage*>(&other), 1));
    host.Document().RemoveEntry("content");
    EXPECT_EQ(Run(host), "") << "no first image";
}

TEST_F(PointwiseRelation, ConfigureForgetsTheSecondImageAndResetBoth) {
    test::CPackHost host(Bytes({1, 2}));
    const CImage other(IMAGE_GREY_8, CSize(2, 1), CSize(0, 0));
    host.Set("Image2", new CValuePointer<CImage>(const_cast<CImage*>(&other), 1));
    m_plugin->UpdateParameters(host.Tree());
    CValueMap settings;
    m_plugin->Configure(nullptr, settings);
    m_plugin->GetData(host.Tree()); // a box would wait for ever
    m_plugin->UpdateParameters(host.Tree());
    m_plugin->Reset();
    m_plugin->GetData(host.Tree());
    EXPECT_NE(Run(host), "") << "both come back with the tree";
}

TEST_F(PointwiseRelation, AnInputWithoutADocumentInFocusForgetsTheFirstImage) {
    test::CPackHost host(Bytes({1, 2}));
    const CImage other(IMAGE_GREY_8, CSize(2, 1), CSize(0, 0));
    host.Set("Image2", new CValuePointer<CImage>(const_cast<CImage*>(&other), 1));
    m_plugin->UpdateParameters(host.Tree());
    m_plugin->UpdateParameters(CValueMap());
    EXPECT_NE(RunAsItIs(host), "") << "a tree without input says nothing about the focus";
    host.Tree().SetEntry("input", new CValueMap);
    m_plugin->UpdateParameters(host.Tree());
    EXPECT_EQ(RunAsItIs(host), "");
}

/// Notes the cursor of the application whenever it is asked about cancellation.
class CursorProgress : public test::HostProgress {
public:
    bool IsCancelled() override {
        const QCursor* cursor = QApplication::overrideCursor();
        waits = waits && cursor != nullptr && cursor->shape() == Qt::WaitCursor;
        return HostProgress::IsCancelled();
    }

    bool waits = true;
};

TEST_F(PointwiseRelation, ShowsTheWaitCursorWhileItCompares) {
    CursorProgress progress;
    EXPECT_NE(Compare(Bytes({1, 2}), *Bytes({1, 2})), "");
    EXPECT_GT(progress.questions, 0);
    EXPECT_TRUE(progress.waits);
}

TEST_F(PointwiseRelation, TheBoxTreatsNothingAsMarkup) {
    EXPECT_NE(Compare(Bytes({1, 2}), *Bytes({1, 2})), "");
    EXPECT_TRUE(m_isBoxPlain);
}

TEST_F(PointwiseRelation, ACancelledComparisonShowsTheCountsSoFar) {
    const CSize size(4, 8);
    Image a = test::ImageOf(IMAGE_GREY_8, size, std::vector<unsigned char>(32, 2));
    const Image b = test::ImageOf(IMAGE_GREY_8, size, std::vector<unsigned char>(32, 1));
    test::HostProgress progress;
    progress.cancelAt = 3;
    const std::string text = Compare(std::move(a), *b);
    ASSERT_TRUE(progress.wasCancelled);
    const std::int64_t seen = progress.steps;
    EXPECT_GT(seen, 0);
    EXPECT_LT(seen, 32);
    EXPECT_NE(text.find("# a >  b : " + std::to_string(seen) + "\n"), std::string::npos) << text;
    EXPECT_EQ(VerdictOf(text), " - image a is pointwise greater then image b\n")
        << "the verdict is that of the pixels seen";
}

TEST_F(PointwiseRelation, WritesNothingToTheTree) {
    test::CPackHost host(Bytes({1, 2}));
    const CImage other(IMAGE_GREY_8, CSize(2, 1), CSize(0, 0));
    host.Set("Image2", new CValuePointer<CImage>(const_cast<CImage*>(&other), 1));
    EXPECT_NE(Run(host), "");
    EXPECT_FALSE(host.Tree().HasEntry("output"));
}

} // namespace
