#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueLong.h>
#include <sorblib2core/CValueMap.h>

#include <gtest/gtest.h>

#include <memory>

using namespace ORVEN;

namespace {

/// A plug-in that overrides only the pure virtual functions.
class CBarePlugin : public CPluginBase {
public:
    explicit CBarePlugin(bool& isAlive)
        : m_isAlive(isAlive) {
        m_isAlive = true;
    }
    ~CBarePlugin() override { m_isAlive = false; }

    void GetData(CValueMap& /*tree*/) override {}
    void UpdateParameters(const CValueMap& /*tree*/) override {}

private:
    bool& m_isAlive;
};

/// A tree with a focused document, and a plug-in to test it with.
class CPluginBaseTest : public testing::Test {
protected:
    CPluginBaseTest() {
        m_document.SetEntry("content", new CValuePointer<int>(&m_pixel, 1));
        m_tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(&m_document, 1));
    }

    bool m_isAlive = false;
    int m_pixel = 0;
    CValueMap m_document;
    CValueMap m_tree;
    CBarePlugin m_plugin{m_isAlive};
};

} // namespace

TEST(CPluginBase, IsDestroyedThroughEachOfItsBases) {
    bool isAlive = false;
    std::unique_ptr<CPluginBase>(new CBarePlugin(isAlive)).reset();
    EXPECT_FALSE(isAlive);
    std::unique_ptr<IPluginObject>(new CBarePlugin(isAlive)).reset();
    EXPECT_FALSE(isAlive);
    std::unique_ptr<IObject>(new CBarePlugin(isAlive)).reset();
    EXPECT_FALSE(isAlive);
}

TEST_F(CPluginBaseTest, ImplementsItsOwnInterfaceAndThoseOfItsBases) {
    for (const char* name : {"CPluginBase", "IPluginObject", "IObject"})
        EXPECT_TRUE(m_plugin.TestInterface(CString(name, CString::ENC_UTF8))) << name;
    for (const char* name : {"CValueMap", "cpluginbase", ""})
        EXPECT_FALSE(m_plugin.TestInterface(CString(name, CString::ENC_UTF8))) << name;
}

TEST_F(CPluginBaseTest, OtherOperationsDoNothingByDefault) {
    CValueMap settings;
    settings.SetEntry("malut", new CValueLong(1));
    const CValueMap before(settings);
    m_plugin.SetInstance("instance");
    m_plugin.SetInstance(nullptr);
    m_plugin.Init(nullptr);
    m_plugin.Init(&settings);
    m_plugin.GetPluginSetup(settings);
    m_plugin.Configure(nullptr, settings);
    m_plugin.Reset();
    EXPECT_TRUE(settings.Equal(before));
}

TEST_F(CPluginBaseTest, AcceptsAFocusedDocumentWithAnImage) { EXPECT_TRUE(m_plugin.TestParameters(m_tree)); }

TEST_F(CPluginBaseTest, RefusesATreeWithoutAFocusedDocument) {
    EXPECT_FALSE(m_plugin.TestParameters(CValueMap()));
    m_tree.SetEntry("input/documents/focused", new CValuePointer<CValueMap>(nullptr, 1));
    EXPECT_FALSE(m_plugin.TestParameters(m_tree));
}

TEST_F(CPluginBaseTest, RefusesADocumentWithoutAnImage) {
    m_document.SetEntry("content", new CValuePointer<int>(nullptr, 1));
    EXPECT_FALSE(m_plugin.TestParameters(m_tree));
    m_document.SetEntry("content", new CValueLong(1));
    EXPECT_FALSE(m_plugin.TestParameters(m_tree));
    m_document.RemoveEntry("content");
    EXPECT_FALSE(m_plugin.TestParameters(m_tree));
}

TEST_F(CPluginBaseTest, ReturnsFalseInsteadOfRaising) {
    m_tree.SetEntry("input/documents/focused", new CValuePointer<int>(&m_pixel, 1));
    EXPECT_NO_THROW(EXPECT_FALSE(m_plugin.TestParameters(m_tree)));
    m_tree.SetEntry("input/documents/focused", new CValueMap);
    EXPECT_NO_THROW(EXPECT_FALSE(m_plugin.TestParameters(m_tree)));
    m_tree.SetEntry("input", new CValueLong(1));
    EXPECT_NO_THROW(EXPECT_FALSE(m_plugin.TestParameters(m_tree)));
}
