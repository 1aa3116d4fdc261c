// What a dictation leaves behind: the process's own memory before, while and after speech is recognised, in turns. Ends
// with 1 when more than 5 MB stay.

#include "platform/linux/PocketSphinxRecogniser.h"
#include "platform/linux/SphinxDecoder.h"

#include <cstdio>
#include <fstream>
#include <future>
#include <random>
#include <string>
#include <vector>

using namespace vantry;

namespace {

/// In kB, without what is shared with other processes.
long privateMemory()
{
    std::ifstream file("/proc/self/smaps_rollup");
    long total = 0;
    for (std::string word; file >> word;) {
        long amount = 0;
        if (word.starts_with("Private_") && file >> amount)
            total += amount;
    }
    return total;
}

/// Waits until the recogniser has done all that it was given.
void settle(PocketSphinxRecogniser &recogniser)
{
    std::promise<void> done;
    recogniser.requestAuthorisation([&done](auto) { done.set_value(); });
    done.get_future().wait();
}

/// Some seconds that are not silent.
std::vector<float> noise()
{
    constexpr std::size_t seconds = 3;
    std::mt19937 random;
    std::normal_distribution<float> distribution(0, 0.05F);
    std::vector<float> samples(seconds * Microphone::sampleRate);
    for (float &sample : samples)
        sample = distribution(random);
    return samples;
}

} // namespace

int main()
{
    constexpr long limit = 5 * 1024;
    constexpr int turns = 5;
    const std::vector<float> samples = noise();
    const long before = privateMemory();
    std::printf("before: %ld kB\n", before);
    long left = 0;
    for (int turn = 0; turn < turns; ++turn) {
        PocketSphinxRecogniser recogniser(SphinxDecoder::systemModel());
        const auto request = recogniser.makeRequest();
        auto task = recogniser.recognise(request, { [](const QString &) {}, [](const auto &) {} });
        request->append(samples);
        settle(recogniser);
        const long during = privateMemory();
        request->endAudio();
        task.reset();
        settle(recogniser);
        left = privateMemory() - before;
        std::printf("turn %d: %ld kB more while it runs, %ld kB more afterwards\n", turn + 1, during - before, left);
    }
    std::printf("at most: %ld kB\n", limit);
    return left <= limit ? 0 : 1;
}
