// Random scripts of everything an owner can do, against a plain model.
#include <random>

#include "PlayerStage.h"

namespace TWQuickTime::playback {
namespace {

using test::frames;
using test::kRate;

constexpr int kFrames = 30000;

/// What a player without latency is to give, frame by frame.
struct Model {
    std::int64_t in = 0, out = kFrames, at = 0;
    bool loops = false, runs = false, ended = false;
    std::vector<int> levels;

    void place() {
        ended = false;
        if (!runs) {
            return;
        }
        if (out <= in) {
            at = in;
            ended = true;
        } else if (at < in || (at >= out && loops)) {
            at = in;
        } else if (at >= out) {
            at = out;
            ended = true;
        }
    }
    void pass(std::int64_t count) {
        for (; runs && count > 0; --count) {
            if (ended) {
                levels.push_back(0);
                continue;
            }
            levels.push_back(int(at) + 1);
            ++at;
            place();
        }
    }
};

class RandomPlay : public test::PlayerStage {
  protected:
    /// A change of range shows in the position when it is heard.
    void hearOneFrame(Model& model) {
        if (model.runs) {
            pass(1);
            model.pass(1);
        }
    }
};

TEST_F(RandomPlay, GivesWhatAPlainModelGives) {
    for (unsigned script = 0; script < 300; ++script) {
        std::mt19937 random(script);
        const auto below = [&](std::int64_t end) {
            return std::uniform_int_distribution<std::int64_t>(0, end - 1)(random);
        };
        player_.reset();
        lab_->recorded.clear();
        Model model;
        player();
        for (int i = 0; i < 40; ++i) {
            switch (below(8)) {
                case 0:
                    model.at = below(kFrames + 1);
                    player().seek(frames(model.at));
                    model.place();
                    break;
                case 1:
                case 2: {
                    model.in = below(kFrames);
                    model.out = below(3) == 0 ? model.in + below(40) : below(kFrames + 1);
                    model.out = std::min<std::int64_t>(model.out, kFrames);
                    player().setRange(frames(model.in), frames(model.out));
                    model.place();
                    hearOneFrame(model);
                    break;
                }
                case 3:
                    model.loops = !model.loops;
                    player().setLoops(model.loops);
                    model.place();
                    hearOneFrame(model);
                    break;
                case 4:
                    model.runs = !model.runs;
                    if (model.runs) {
                        play();
                        model.place();
                    } else {
                        player().stop();
                    }
                    break;
                default: {
                    if (!model.runs) {
                        break;
                    }
                    const std::int64_t count = below(4) == 0 ? below(9000) : below(50);
                    pass(count);
                    model.pass(count);
                    ASSERT_EQ(position(), model.at) << "script " << script << ", step " << i;
                    ASSERT_EQ(player().reachedEnd(), model.ended) << script << ", step " << i;
                }
            }
        }
        ASSERT_EQ(lab_->levels(), model.levels) << "script " << script;
    }
}

}  // namespace
}  // namespace TWQuickTime::playback
