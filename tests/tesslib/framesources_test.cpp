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
        if (current >= n) return ERR_LIMIT;
        frame.framebuf = {static_cast<uint8_t>(first + current)};
        frame.framenum = current++;
        return 0;
    }
    int32_t GetTotalFrames() override { return n; }

private:
    int first;
    int n;
    int current = 0;
};

// A stretch of three files, one of them empty, of 20 frames in all.
TEST(FrameSources, AStretchOfJoinedFilesHasItsFrames) {
    std::vector<RefPtr<FrameSource>> sources = {MakeRef<CountingFrames>(0, 8), MakeRef<CountingFrames>(50, 0),
                                                MakeRef<CountingFrames>(8, 12)};
    MergeFrameSources merge(sources);
    EXPECT_EQ(merge.GetTotalFrames(), 20);
    struct Case {
        int64_t start, end;
        int first, last;
    };
    for (const Case& c :
         {Case{0, -1, 0, 19}, {1151, 1152 * 9, 0, 9}, {1152, 1152 * 9 + 5, 1, 9}, {1152 * 18, 1152 * 500, 18, 19}}) {
        ChopFrameSource chop(&merge, c.start, c.end, PCM_FORCE_FRAMES);
        EXPECT_EQ(chop.GetTotalFrames(), c.last - c.first + 1) << c.start;
        ASSERT_EQ(chop.SeekToFrame(0), 0);
        FRAME frame;
        for (int k = c.first; k <= c.last; ++k) {
            ASSERT_EQ(chop.ReadFrame(frame, 0), 0) << c.start;
            EXPECT_EQ(frame.framebuf[0], k);
        }
        EXPECT_EQ(chop.ReadFrame(frame, 0), ERR_LIMIT);
    }
}

}  // namespace
}  // namespace Tesslib
