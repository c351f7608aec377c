// What is counted between the images of a stream.
#include "camera/stream/ImageNumbers.h"
#include "camera/stream/MissedBlocks.h"

#include <gtest/gtest.h>

using namespace Tavix::detail;

namespace {

ImageFacts ImageOf(std::uint64_t block, std::chrono::nanoseconds gap = {}) {
    ImageFacts image;
    image.blockId = block;
    image.gapBefore = gap;
    return image;
}

} // namespace

TEST(MissedBlocks, AreTheGapsBetweenIds) {
    MissedBlocks missed;
    EXPECT_EQ(missed.Note(7, false), 0u) << "nobody knows what was before the first";
    EXPECT_EQ(missed.Note(8, false), 0u);
    EXPECT_EQ(missed.Note(11, false), 2u);
    EXPECT_EQ(missed.Note(3, false), 0u) << "the ids went back";
    EXPECT_EQ(missed.Note(5, false), 1u);
}

TEST(MissedBlocks, AreNotThoseThatCameBroken) {
    MissedBlocks missed;
    missed.Note(1, false);
    missed.NoteBroken();
    EXPECT_EQ(missed.Note(4, false), 1u) << "2 or 3 came broken";
    missed.NoteBroken();
    EXPECT_EQ(missed.Note(6, true), 1u) << "it is the broken one itself";
    missed.NoteBroken();
    missed.NoteBroken();
    EXPECT_EQ(missed.Note(8, false), 0u) << "never less than none";
    EXPECT_EQ(missed.Note(10, false), 1u);
}

TEST(MissedBlocks, BeginAnewWithARun) {
    MissedBlocks missed;
    missed.Note(1, false);
    missed.NoteBroken();
    missed.Begin();
    EXPECT_EQ(missed.Note(9, false), 0u);
    EXPECT_EQ(missed.Note(11, false), 1u);
}

TEST(MissedBlocks, PassOverWhatHasNoId) {
    MissedBlocks missed;
    missed.Note(1, false);
    EXPECT_EQ(missed.Note(kUnknownBlock, true), 0u);
    EXPECT_EQ(missed.Note(3, false), 1u);
}

TEST(ImageNumbers, CountWhatIsHandedOutAndWhatLiesBetween) {
    ImageNumbers numbers;
    ImageFacts first = ImageOf(5), second = ImageOf(8), back = ImageOf(1);
    numbers.HandOut(first);
    numbers.HandOut(second);
    numbers.HandOut(back);
    EXPECT_EQ(first.number, 0u);
    EXPECT_EQ(first.missedBefore, 0u);
    EXPECT_EQ(second.number, 1u);
    EXPECT_EQ(second.missedBefore, 2u);
    EXPECT_EQ(back.missedBefore, 0u);
}

TEST(ImageNumbers, LeaveTheGapOfADroppedImageToTheNext) {
    using std::chrono::seconds;
    ImageNumbers numbers;
    ImageFacts first = ImageOf(5), next = ImageOf(9, seconds(1)), last = ImageOf(10);
    numbers.HandOut(first);
    numbers.Drop(ImageOf(7, seconds(2)));
    numbers.HandOut(next);
    EXPECT_EQ(next.gapBefore, seconds(3));
    EXPECT_EQ(next.missedBefore, 0u) << "ids do not go on over a gap";
    numbers.HandOut(last);
    EXPECT_EQ(last.gapBefore, seconds(0));
}

TEST(ImageNumbers, TellNothingOfWhatHasNoId) {
    ImageNumbers numbers;
    ImageFacts first = ImageOf(5), unknown = ImageOf(kUnknownBlock), last = ImageOf(7);
    unknown.missedBefore = 99;
    numbers.HandOut(first);
    numbers.HandOut(unknown);
    numbers.HandOut(last);
    EXPECT_EQ(unknown.number, 1u);
    EXPECT_EQ(unknown.missedBefore, 0u);
    EXPECT_EQ(last.missedBefore, 1u);
}
