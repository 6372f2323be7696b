// The audio thread's walk along plans, frame by frame, without any other thread.
#include "host/engine/play_head.h"

#include <gtest/gtest.h>

#include <vector>

namespace host {
namespace {

constexpr int kRate = 1000;  // a fade takes 10 frames
constexpr int64_t kSilence = -1, kFade = 1000000;

class PlayHeadTest : public ::testing::Test {
protected:
    void Offer(uint64_t serial, int64_t start, LoopFrames loop = {}, int64_t takeOverAt = -1) {
        head.Exchange().Offer({{serial, start, loop, takeOverAt}, 1 - head.Exchange().Settled().ring});
    }
    // The project frame of each of the next n frames, in steps of at most `most`; those that fade count kFade
    // more.
    std::vector<int64_t> Walk(size_t n, size_t most = 7) {
        std::vector<int64_t> frames;
        while (frames.size() < n) {
            const PlayHead::Step step = head.Next(std::min(most, n - frames.size()));
            for (size_t i = 0; i < step.n; i++) {
                const int64_t frame = step.plan.plan.ProjectFrame(step.at + static_cast<int64_t>(i));
                frames.push_back(!step.playing ? kSilence : step.fade ? frame + kFade : frame);
            }
            head.Advance(step);
            head.Publish();
        }
        return frames;
    }
    static std::vector<int64_t> Run(int64_t from, int64_t to) {
        std::vector<int64_t> frames;
        for (int64_t f = from; f < to; f++) frames.push_back(f);
        return frames;
    }
    static std::vector<int64_t> Joined(std::initializer_list<std::vector<int64_t>> parts) {
        std::vector<int64_t> all;
        for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
        return all;
    }
    static std::vector<int64_t> Silence(size_t n) { return std::vector<int64_t>(n, kSilence); }

    PlayHead head{kRate};
};

TEST_F(PlayHeadTest, LoopsWithoutAGapAndStopsWithAFade) {
    EXPECT_EQ(Walk(5), Silence(5));
    Offer(1, 95, {90, 100});
    EXPECT_EQ(Walk(25), Joined({Run(95, 100), Run(90, 100), Run(90, 100)}));
    head.Stop(1);
    EXPECT_EQ(Walk(13), Joined({Run(90 + kFade, 100 + kFade), Silence(3)}));
    EXPECT_FALSE(head.State().playing);
    EXPECT_EQ(head.State().frame, 90);
    // A loop that ends before the start is not entered.
    Offer(2, 100, {90, 100});
    EXPECT_EQ(Walk(12), Run(100, 112));
}

TEST_F(PlayHeadTest, AJumpFadesWhatPlaysAndThenBeginsAtOnce) {
    Offer(1, 0);
    EXPECT_EQ(Walk(20), Run(0, 20));
    Offer(2, 500);
    EXPECT_EQ(Walk(20), Joined({Run(20 + kFade, 30 + kFade), Run(500, 510)}));
    EXPECT_EQ(head.Exchange().Settled().serial, 2u);
    // The fade itself goes from full to nothing in the step it tells.
    head.Stop(2);
    const PlayHead::Step step = head.Next(100);
    EXPECT_EQ(step.n, 10u);
    EXPECT_FLOAT_EQ(step.line.At(step.line.position), 0.9f);
    EXPECT_FLOAT_EQ(step.line.At(step.line.position + 9), 0.0f);
}

TEST_F(PlayHeadTest, ASeamlessPlanTakesOverAtItsFrame) {
    Offer(1, 0);
    Walk(20);
    Offer(2, 50, {40, 60}, 50);
    EXPECT_EQ(Walk(60), Joined({Run(20, 60), Run(40, 60)}));
    // One that comes too late goes on where it would be by then.
    Walk(10);
    const PlayState state = head.State();
    const PlayPlan now{2, 50, {40, 60}, 50};
    Offer(3, now.ProjectFrame(state.at - 5), {}, state.at - 5);
    EXPECT_EQ(Walk(20), Run(state.frame, state.frame + 20));
}

TEST_F(PlayHeadTest, PlansThatCameToNothingAreSettledAndFreeTheirRing) {
    Offer(1, 0);
    head.Stop(1);
    EXPECT_EQ(Walk(5), Silence(5)) << "stopped before it began";
    EXPECT_EQ(head.Exchange().Settled().serial, 1u);
    EXPECT_EQ(head.Exchange().Settled().ring, 0);
    Offer(2, 30);
    Walk(5);
    EXPECT_EQ(head.Exchange().Settled().ring, 1);
    Offer(3, 100, {}, 60);
    head.Stop(2);
    EXPECT_EQ(Walk(12), Joined({Run(35 + kFade, 45 + kFade), Silence(2)}));
    EXPECT_EQ(head.Exchange().Settled().serial, 3u) << "a seamless plan lapses when what it follows stops";
    EXPECT_EQ(head.Exchange().Settled().ring, 1);
    Offer(4, 7);
    EXPECT_TRUE(head.Exchange().Withdraw());
    EXPECT_EQ(Walk(5), Silence(5));
    EXPECT_FALSE(head.Exchange().Withdraw());
}

TEST_F(PlayHeadTest, EndsAtTheEndOfTheSession) {
    head.SetEnd(40);
    Offer(1, 30);
    EXPECT_EQ(Walk(15), Joined({Run(30, 40), Silence(5)}));
    EXPECT_EQ(head.State().frame, 40);
    EXPECT_FALSE(head.State().playing);
    Offer(2, 30, {20, 40});
    EXPECT_EQ(Walk(25), Joined({Run(30, 40), Run(20, 35)})) << "a loop up to the end stays in the loop";
    head.SetEnd(10);
    EXPECT_EQ(Walk(2), Silence(2)) << "the session became shorter";
    Offer(3, 50);
    EXPECT_EQ(Walk(2), Silence(2));
}

}  // namespace
}  // namespace host
