// What controls carry by name, and how they find each other.
#include "src/support/TKProperties.h"

#include "tests/support/TKControlsTest.h"

namespace {

using TKPropertiesTest = TKControlsTest;

constexpr uint32_t kUndo = TKFourCharacters("undo");

TEST_F(TKPropertiesTest, APropertyIsACopyOfWhatWasSetAndMayBeSetAgain)
{
    TKControlNode node;
    TKInitNode(&node, nullptr, nullptr);
    float value = 1.5f;
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, &value, sizeof value), bpNoErr);
    value = 2;
    float read = 0;
    EXPECT_EQ(GetControlProperty(&node, kTKPropertySignature, kUndo, &read, sizeof read), bpNoErr);
    EXPECT_EQ(read, 1.5f);
    const uint8_t flag = 1;
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, TKFourCharacters("aper"), &flag, 1), bpNoErr);
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, &value, sizeof value), bpNoErr);
    EXPECT_EQ(GetControlProperty(&node, kTKPropertySignature, kUndo, &read, sizeof read), bpNoErr);
    EXPECT_EQ(read, 2.0f);
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, nullptr, 0), bpNoErr);
    EXPECT_EQ(GetControlProperty(&node, kTKPropertySignature, kUndo, nullptr, 0), bpNoErr); // there, and empty
    TKDisposeNode(&node);
    EXPECT_EQ(node.properties, nullptr);
}

TEST_F(TKPropertiesTest, AMissingPropertyIsLoggedAndZeroesTheBuffer)
{
    TKControlNode node;
    TKInitNode(&node, nullptr, nullptr);
    uint64_t buffer = ~uint64_t{0};
    EXPECT_EQ(GetControlProperty(&node, kTKPropertySignature, kUndo, &buffer, sizeof buffer), bpParamErr);
    EXPECT_EQ(buffer, 0u);
    EXPECT_EQ(TKLogCount("GetControlProperty failed to find sig 'BPc3', id 'undo'"), 1u);
    // A value of another size is not what was asked for.
    const uint8_t flag = 1;
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, &flag, 1), bpNoErr);
    buffer = ~uint64_t{0};
    EXPECT_EQ(GetControlProperty(&node, kTKPropertySignature, kUndo, &buffer, sizeof buffer), bpParamErr);
    EXPECT_EQ(buffer, 0u);
    EXPECT_EQ(TKLogCount("GetControlProperty failed to find sig 'BPc3', id 'undo'"), 2u);
    TKDisposeNode(&node);
}

TEST_F(TKPropertiesTest, NamesStopAtTheFirstZeroByteOfEachHalf)
{
    EXPECT_STREQ(TKPropertyNameOf(kTKPropertySignature, kUndo).text, "BPc3undo");
    EXPECT_STREQ(TKPropertyNameOf(0x41420043, 0x44000000).text, "ABD");
    EXPECT_STREQ(TKPropertyNameOf(0, 0).text, "");
    EXPECT_STREQ(TKPropertyNameOf(0x42504374, 0x6C494400).text, "BPCtlID");
}

TEST_F(TKPropertiesTest, WithoutMemoryAPropertyKeepsItsOlderValue)
{
    TKControlNode node;
    TKInitNode(&node, nullptr, nullptr);
    const int32_t first = 7, second = 8;
    ASSERT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, &first, sizeof first), bpNoErr);
    BPFailAllocation(1);
    EXPECT_EQ(SetControlProperty(&node, kTKPropertySignature, kUndo, &second, sizeof second), bpMemFullErr);
    BPFailAllocation(0);
    int32_t read = 0;
    EXPECT_EQ(GetControlProperty(&node, kTKPropertySignature, kUndo, &read, sizeof read), bpNoErr);
    EXPECT_EQ(read, 7);
    TKDisposeNode(&node);
}

TEST_F(TKPropertiesTest, ADisposedNodeLeavesItsSiblingsAndItsChildrenWhole)
{
    TKControlNode root, first, second, third, child;
    TKInitNode(&root, nullptr, nullptr);
    for (TKControlNode* node : {&first, &second, &third}) TKInitNode(node, &root, nullptr);
    TKInitNode(&child, &second, nullptr);
    ASSERT_EQ(SetControlID(&child, {kTKControlFormatPopup, 3}), bpNoErr);
    TKControlNode* found = nullptr;
    EXPECT_EQ(FindControlByID(&root, {kTKControlFormatPopup, 3}, &found), bpNoErr);
    TKDisposeNode(&second);
    EXPECT_EQ(root.firstChild, &first);
    EXPECT_EQ(first.nextSibling, &third);
    EXPECT_EQ(child.parent, nullptr);
    EXPECT_EQ(FindControlByID(&root, {kTKControlFormatPopup, 3}, &found), bpControlNotFoundErr);
    TKControlID id;
    EXPECT_EQ(GetControlID(&child, &id), bpNoErr);
    for (TKControlNode* node : {&child, &first, &third, &root}) TKDisposeNode(node);
}

// --- Tool tips --------------------------------------------------------------------------------------------------------

} // namespace
