#include <gtest/gtest.h>

#include <vector>

#include "tesslib/stages.h"

namespace Tesslib {
namespace {

// Frames whose one byte tells which they are.
class CountingFrames : public FrameSource {
public:
    CountingFrames(int first, int n) : FrameSource(1, 44100, 2, 1152), first(first), n(n) {}
    int32_t GetCurrentFrame() override { return current; }
    int SeekToFrame(int32_t frame) override {
        current = frame;
        return n == 0 ? ERR_LIMIT : 0;
    }
    int ReadFrame(FRAME& frame, uint32_t) override {
        if (failure) return failure;
        if (current >= n) return ERR_LIMIT;
        frame.framebuf = {static_cast<uint8_t>(first + current)};
        frame.framenum = current++;
        return 0;
    }
    int32_t GetTotalFrames() override { return n; }
    void ReleaseResources() override { ++releases; }

    int failure = 0;
    int releases = 0;

private:
    int first;
    int n;
    int current = 0;
};

// All frames from where the source stands, and how it ended.
std::vector<int> ReadOn(FrameSource& source, int& result) {
    std::vector<int> frames;
    FRAME frame;
    while ((result = source.ReadFrame(frame, 0)) == 0) frames.push_back(frame.framebuf[0]);
    return frames;
}

TEST(MergeFrameSources, RunsThroughItsSourcesFromAnywhere) {
    auto first = MakeRef<CountingFrames>(0, 3), empty = MakeRef<CountingFrames>(50, 0),
         last = MakeRef<CountingFrames>(3, 2);
    std::vector<RefPtr<FrameSource>> sources = {first, empty, last};
    MergeFrameSources merge(sources);
    EXPECT_EQ(merge.GetTotalFrames(), 5);
    EXPECT_EQ(merge.samples_per_frame, 1152);
    struct Case {
        int32_t seek;
        std::vector<int> frames;
    };
    for (const Case& c :
         {Case{0, {0, 1, 2, 3, 4}}, {2, {2, 3, 4}}, {3, {3, 4}}, {4, {4}}, {5, {}}, {1, {1, 2, 3, 4}}}) {
        EXPECT_EQ(merge.SeekToFrame(c.seek), 0);
        EXPECT_EQ(merge.GetCurrentFrame(), c.seek);
        int result = 0;
        EXPECT_EQ(ReadOn(merge, result), c.frames) << c.seek;
        EXPECT_EQ(result, ERR_LIMIT);
    }
    EXPECT_GT(first->releases, 0);
    // A fault is not the end of a source.
    first->failure = ERR_CONTENTS;
    merge.SeekToFrame(0);
    FRAME frame;
    EXPECT_EQ(merge.ReadFrame(frame, 0), ERR_CONTENTS);
}

TEST(ChopFrameSource, CoversTheSamplesOfTheStretch) {
    CountingFrames source(0, 20);
    struct Case {
        int64_t start, end;
        uint32_t flags;
        int32_t total;
        int first, last;
    };
    for (const Case& c : {Case{0, -1, PCM_FORCE_FRAMES, 20, 0, 19},
                          {0, -1, 0, 16, 0, 19},
                          {1151, 1152 * 9, 0, 6, 0, 9},
                          {1152, 1152 * 9 + 5, PCM_FORCE_FRAMES, 9, 1, 9},
                          {1152 * 5, 1152 * 2, 0, 0, 5, 4},
                          {1152 * 18, 1152 * 500, 0, 0, 18, 19}}) {
        ChopFrameSource chop(&source, c.start, c.end, c.flags);
        EXPECT_EQ(chop.GetTotalFrames(), c.total) << c.start;
        EXPECT_EQ(chop.GetCurrentFrame(), -1);
        ASSERT_EQ(chop.SeekToFrame(0), 0);
        EXPECT_EQ(chop.GetCurrentFrame(), 0);
        int result = 0;
        const std::vector<int> frames = ReadOn(chop, result);
        EXPECT_EQ(result, ERR_LIMIT);
        ASSERT_EQ(static_cast<int>(frames.size()), c.last - c.first + 1) << c.start;
        ASSERT_TRUE(frames.empty() || frames.front() == c.first) << c.start;
    }
}

}  // namespace
}  // namespace Tesslib
