// vantry-speech MODEL recognises American English: samples come in (16 bits, one channel, 16,000 a second, in the
// machine's byte order), and a line with all that has been understood goes out whenever it changes, an empty one first,
// when the model is there. It ends with its input. Without a model it ends at once, which tells that it can be started.
// It is a program of its own because the library ends the process over a damaged model, and because of the 100 MB that
// come with it. Exit status: 0, or 1 when the model can't be loaded.

#include "platform/linux/speech/SphinxDecoder.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <iostream>

namespace {

using namespace vantry;

/// Some 60 ms of speech: what is understood is told so often.
using Samples = std::array<std::int16_t, 1024>;

/// Fills the samples; fewer come at the end. How many came.
std::size_t readSamples(Samples &samples)
{
    const auto bytes = std::as_writable_bytes(std::span(samples));
    std::size_t got = 0;
    while (got < bytes.size()) {
        const ssize_t count = read(STDIN_FILENO, bytes.data() + got, bytes.size() - got);
        if (count == 0 || (count < 0 && errno != EINTR))
            break;
        got += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return got / sizeof(std::int16_t);
}

/// Tells what has been understood, where that is new.
class Report
{
public:
    void tell(const std::string &text)
    {
        if (text == m_told)
            return;
        m_told = text;
        std::cout << text << std::endl;
    }

private:
    std::string m_told;
};

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return 0;
    SphinxDecoder decoder;
    if (!decoder.load(argv[1]))
        return 1;
    std::cout << std::endl;

    Report report;
    Samples samples;
    while (const std::size_t count = readSamples(samples)) {
        decoder.process(std::span(samples).first(count));
        report.tell(decoder.text());
    }
    decoder.finish();
    report.tell(decoder.text());
    return std::cout ? 0 : 1;
}
