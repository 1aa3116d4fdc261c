// Framing of a request: told the same whether it comes in one piece or split at points that the first bytes choose, and
// never whole before the peer would agree.

#include "hooks/RequestFraming.h"
#include "hooks/RequestRouting.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace vantry;

namespace {

bool tellSame(const RequestFraming &a, const RequestFraming &b)
{
    return a.isWhole() == b.isWhole() && a.isUtf8() == b.isUtf8() && a.headerLength() == b.headerLength() &&
           a.announcedLength() == b.announcedLength() && a.isExhausted() == b.isExhausted();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    constexpr std::size_t choices = 4;
    if (size < choices)
        return 0;
    const std::string_view request(reinterpret_cast<const char *>(data) + choices, size - choices);
    RequestFraming whole;
    whole.advance(request);

    RequestFraming split;
    std::size_t length = 0;
    for (std::size_t step = 0; length < request.size(); ++step) {
        length = std::min(request.size(), length + 1 + data[step % choices] % 64U);
        split.advance(request.substr(0, length));
    }
    if (!tellSame(whole, split))
        std::abort();
    if (whole.isWhole() && (!whole.isUtf8() || !whole.headerLength()))
        std::abort();
    if (route(request, whole) != route(request, split))
        std::abort();
    return 0;
}
