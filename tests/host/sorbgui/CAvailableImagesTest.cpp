#include <sorbgui/CAvailableImages.h>

#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueString.h>
#include <sorblib2core/CValueVector.h>
#include <sorblib2image/CImage.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using namespace ORVEN;

using Names = std::vector<std::string>;

/// A tree of open documents.
class AvailableImages : public testing::Test {
protected:
    CImage& NewImage(const IImage::CType& type = IMAGE_BINARY_FG, const CSize& size = CSize(4, 3)) {
        m_images.push_back(std::make_unique<CImage>(type, size, CSize(0, 0, 0)));
        return *m_images.back();
    }

    CValueMap& NewDocument(CImage* image, const std::string& label) {
        auto& document = *m_documents.emplace_back(std::make_unique<CValueMap>());
        document.SetEntry("content", new CValuePointer<CImage>(image, 1));
        if (!label.empty())
            document.SetEntry("label", new CValueString(CString(label)));
        return document;
    }

    void Open(const std::string& key, CValueMap& document) {
        m_tree.SetEntry("input/documents/" + key, new CValuePointer<CValueMap>(&document, 1));
    }

    [[nodiscard]] Names NamesOf(const CAvailableImages& available) const {
        Names names;
        for (const auto& [name, image] : available(m_tree))
            names.push_back(name);
        return names;
    }

    std::vector<std::unique_ptr<CImage>> m_images;
    std::vector<std::unique_ptr<CValueMap>> m_documents;
    CValueMap m_tree;
};

TEST_F(AvailableImages, AreFoundByTheLabelsOfTheirDocuments) {
    CImage& first = NewImage();
    CImage& second = NewImage();
    Open("focused", NewDocument(&first, "scan.nrrd"));
    Open("other", NewDocument(&second, "mask.nrrd"));
    const auto images = CAvailableImages(true, true)(m_tree);
    EXPECT_EQ(images, (std::map<std::string, const CImage*>{{"mask.nrrd", &second}, {"scan.nrrd", &first}}));
}

TEST_F(AvailableImages, AreEmptyForATreeWithoutDocuments) {
    EXPECT_TRUE(CAvailableImages(true, true)(m_tree).empty());
    m_tree.SetEntry("input", new CValueMap);
    EXPECT_TRUE(CAvailableImages(true, true)(m_tree).empty());
    m_tree.SetEntry("input/documents", new CValueString("none", CString::NPOS));
    EXPECT_TRUE(CAvailableImages(true, true)(m_tree).empty());
}

TEST_F(AvailableImages, ExcludeTheFocusedOneOnRequest) {
    CImage& first = NewImage();
    Open("focused", NewDocument(&first, "a"));
    Open("other", NewDocument(&NewImage(), "b"));
    Open("the focused one again", NewDocument(&first, "c"));
    EXPECT_EQ(NamesOf(CAvailableImages(true, true)), (Names{"a", "b"}));
    EXPECT_EQ(NamesOf(CAvailableImages(false, true)), Names{"b"});
}

TEST_F(AvailableImages, ExcludeThoseWithoutLabelOnRequest) {
    Open("1", NewDocument(&NewImage(), ""));
    Open("2", NewDocument(&NewImage(), "b"));
    EXPECT_EQ(NamesOf(CAvailableImages(true, true)), (Names{"b", "unnamed"}));
    EXPECT_EQ(NamesOf(CAvailableImages(true, false)), Names{"b"});
}

TEST_F(AvailableImages, GetNumbersIfLabelsAreTheSame) {
    for (const char* key : {"1", "2", "3"})
        Open(key, NewDocument(&NewImage(), "a"));
    const auto images = CAvailableImages(true, true)(m_tree);
    EXPECT_EQ(images.at("a"), m_images[0].get());
    EXPECT_EQ(images.at("a (2)"), m_images[1].get());
    EXPECT_EQ(images.at("a (3)"), m_images[2].get());
}

TEST_F(AvailableImages, AreRestrictedToTheAllowedTypes) {
    for (const auto& type : {IMAGE_GREY_8, IMAGE_BINARY_FG, IMAGE_BINARY_BG, IMAGE_GREY_F})
        Open(type.ToString(), NewDocument(&NewImage(type), type.ToString()));
    CAvailableImages available(true, true);
    available.addAllowedType(IMAGE_BINARY_FG);
    EXPECT_EQ(NamesOf(available), Names{"IMAGE_BINARY_FG"});
    available.addAllowedType(IMAGE_GREY_8);
    EXPECT_EQ(NamesOf(available), (Names{"IMAGE_BINARY_FG", "IMAGE_GREY_8"}));
}

TEST_F(AvailableImages, AreRestrictedToTheAllowedSizes) {
    Open("1", NewDocument(&NewImage(IMAGE_GREY_8, CSize(4, 3)), "4x3"));
    Open("2", NewDocument(&NewImage(IMAGE_GREY_8, CSize(4, 3, 1)), "4x3x1"));
    Open("3", NewDocument(&NewImage(IMAGE_GREY_8, CSize(3, 4)), "3x4"));
    CAvailableImages available(true, true);
    available.addAllowedSize(CSize(4, 3));
    EXPECT_EQ(NamesOf(available), Names{"4x3"});
    available.addAllowedSize(CSize(3, 4));
    EXPECT_EQ(NamesOf(available), (Names{"3x4", "4x3"}));
}

TEST_F(AvailableImages, AreFoundInMapsVectorsAndDocumentsByValue) {
    m_tree.SetEntry("input/documents/all/0", new CValuePointer<CValueMap>(&NewDocument(&NewImage(), "a"), 1));
    m_tree.SetEntry("input/documents/named/x",
                    new CValuePointer<CValueMap>(&NewDocument(&NewImage(), "b"), 1));
    m_tree.SetEntry("input/documents/here", NewDocument(&NewImage(), "c").Clone(CValue::TF_KEEP));
    EXPECT_EQ(NamesOf(CAvailableImages(true, true)), (Names{"a", "b", "c"}));
}

TEST_F(AvailableImages, ExcludeEntriesThatAreNotImages) {
    Open("1", NewDocument(nullptr, "null image"));
    auto& text = *m_documents.emplace_back(std::make_unique<CValueMap>());
    text.SetEntry("content", new CValueString("text", CString::NPOS));
    Open("2", text);
    auto& map = *m_documents.emplace_back(std::make_unique<CValueMap>());
    map.SetEntry("content", new CValuePointer<CValueMap>(&text, 1));
    Open("3", map);
    m_tree.SetEntry("input/documents/4", new CValuePointer<CValueMap>(nullptr, 1));
    m_tree.SetEntry("input/documents/5", new CValuePointer<CImage>(&NewImage(), 1));
    m_tree.SetEntry("input/documents/6/2", new CValueString("text", CString::NPOS));
    EXPECT_TRUE(CAvailableImages(true, true)(m_tree).empty());
}

} // namespace
