// The order of the virtual functions is part of the binary interface to packs already built: a call goes by
// slot, not by name. Slots count from 1; the destructor is the first.

#include <sorblib2core/CPluginBase.h>
#include <sorblib2core/CString.h>
#include <sorblib2core/CValueMap.h>
#include <sorblib2core/CValueVector.h>

#include "support/VirtualSlot.h"

#include <gtest/gtest.h>

using namespace ORVEN;
using test::VirtualSlot;

TEST(VirtualOrder, OfCValue) {
    EXPECT_EQ(VirtualSlot<bool&()>(&CValue::Bool), 2);
    EXPECT_EQ(VirtualSlot<bool() const>(&CValue::Bool), 3);
    EXPECT_EQ(VirtualSlot<std::int32_t() const>(&CValue::Long), 4);
    EXPECT_EQ(VirtualSlot<std::int32_t&()>(&CValue::Long), 5);
    EXPECT_EQ(VirtualSlot<double() const>(&CValue::Double), 6);
    EXPECT_EQ(VirtualSlot<double&()>(&CValue::Double), 7);
    EXPECT_EQ(VirtualSlot<const CString&() const>(&CValue::String), 8);
    EXPECT_EQ(VirtualSlot<CString&()>(&CValue::String), 9);
    EXPECT_EQ(VirtualSlot<const CValueMap*() const>(&CValue::Map), 10);
    EXPECT_EQ(VirtualSlot<CValueMap*()>(&CValue::Map), 11);
    EXPECT_EQ(VirtualSlot<const CValueVector*() const>(&CValue::Vector), 12);
    EXPECT_EQ(VirtualSlot<CValueVector*()>(&CValue::Vector), 13);
    EXPECT_EQ(VirtualSlot<const CValuePointerBase*() const>(&CValue::Pointer), 14);
    EXPECT_EQ(VirtualSlot<CValuePointerBase*()>(&CValue::Pointer), 15);
    EXPECT_EQ(VirtualSlot(&CValue::Clone), 16);
    EXPECT_EQ(VirtualSlot(&CValue::Copy), 17);
    EXPECT_EQ(VirtualSlot(&CValue::Move), 18);
    EXPECT_EQ(VirtualSlot(&CValue::Equal), 19);
    EXPECT_EQ(VirtualSlot(&CValue::EqualData), 20);
    EXPECT_EQ(VirtualSlot(&CValue::Type), 21);
    EXPECT_EQ(VirtualSlot(&CValue::GenericType), 22);
    EXPECT_EQ(VirtualSlot(&CValue::ElementType), 23);
    EXPECT_EQ(VirtualSlot(&CValue::IsLink), 24);
    EXPECT_EQ(VirtualSlot(&CValue::IsValid), 25);
    EXPECT_EQ(VirtualSlot<const CValueMap&() const>(&CValue::Meta), 26);
    EXPECT_EQ(VirtualSlot<CValueMap&()>(&CValue::Meta), 27);
    EXPECT_EQ(VirtualSlot(&CValue::SetString), 28);
    EXPECT_EQ(VirtualSlot<const void*() const>(&CValue::VoidPointer), 29);
    EXPECT_EQ(VirtualSlot<void*()>(&CValue::VoidPointer), 30);
    EXPECT_THROW((void)VirtualSlot(&CValue::CopyMeta), std::logic_error);
}

TEST(VirtualOrder, OfCValueContainerBase) {
    using Container = CValueContainerBase;
    EXPECT_EQ((VirtualSlot<CValue*(const CValue_Key&, bool) const>(&Container::Entry)), 31);
    EXPECT_EQ((VirtualSlot<CValue*(const CValue_Key&, bool)>(&Container::Entry)), 32);
    EXPECT_EQ(VirtualSlot(&Container::SetEntry), 33);
    EXPECT_EQ((VirtualSlot<bool(const CValue_Key&, CValue::EnValType) const>(&Container::HasEntry)), 34);
    EXPECT_EQ((VirtualSlot<bool(const CValue_Key&, const std::type_info&) const>(&Container::HasEntry)), 35);
    EXPECT_EQ(VirtualSlot<bool(const CValue_Key&) const>(&Container::HasEntry), 36);
    EXPECT_EQ(VirtualSlot(&Container::RemoveEntry), 37);
    EXPECT_EQ(VirtualSlot(&Container::Detach), 38);
    EXPECT_EQ(VirtualSlot(&Container::Size), 39);
    EXPECT_EQ((VirtualSlot<CValue_Key(const char*, const CValue_Key&) const>(&Container::Find)), 40);
    EXPECT_EQ((VirtualSlot<CValue_Key(const CValue&, const CValue_Key&) const>(&Container::Find)), 41);
    EXPECT_THROW((void)VirtualSlot<CString&(const CValue_Key&)>(&Container::EntryString), std::logic_error);
}

TEST(VirtualOrder, OfCValueMapAndCValueVectorContinuesAfterTheContainer) {
    EXPECT_EQ(VirtualSlot(&CValueMap::IsEmpty), 42);
    EXPECT_EQ(VirtualSlot(&CValueMap::Clear), 43);
    EXPECT_EQ(VirtualSlot(&CValueMap::Keys), 44);
    EXPECT_EQ(VirtualSlot(&CValueMap::IsSubset), 45);
    EXPECT_EQ(VirtualSlot(&CValueMap::begin), 46);
    EXPECT_EQ(VirtualSlot(&CValueMap::end), 47);
    EXPECT_EQ(VirtualSlot(&CValueVector::PushBack), 42);
}

TEST(VirtualOrder, OfCValuePointer) {
    using Pointer = CValuePointer<CValueMap>;
    EXPECT_EQ(VirtualSlot<const void*() const>(&Pointer::Void), 31);
    EXPECT_EQ(VirtualSlot<void*()>(&Pointer::Void), 32);
    EXPECT_EQ(VirtualSlot(&Pointer::CloneNonOwned), 33);
}

TEST(VirtualOrder, OfCPluginBase) {
    EXPECT_EQ(VirtualSlot(&CPluginBase::SetInstance), 2);
    EXPECT_EQ(VirtualSlot(&CPluginBase::GetPluginSetup), 3);
    EXPECT_EQ(VirtualSlot(&CPluginBase::Init), 4);
    EXPECT_EQ(VirtualSlot(&CPluginBase::TestInterface), 5);
    EXPECT_EQ(VirtualSlot(&CPluginBase::Configure), 6);
    EXPECT_EQ(VirtualSlot(&CPluginBase::Reset), 7);
    EXPECT_EQ(VirtualSlot(&CPluginBase::GetData), 8);
    EXPECT_EQ(VirtualSlot(&CPluginBase::TestParameters), 9);
    EXPECT_EQ(VirtualSlot(&CPluginBase::UpdateParameters), 10);
}
