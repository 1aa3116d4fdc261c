#include "platform/linux/X11Connection.h"

#include <gmock/gmock.h>

namespace vantry {
namespace {

using namespace std::literals;

std::string numberOf(std::size_t value)
{
    return { static_cast<char>(value / 256), static_cast<char>(value % 256) };
}

/// An entry of an Xauthority file.
std::string entry(unsigned family, const std::string &address, const std::string &display, const std::string &cookie,
                  const std::string &protocol = "MIT-MAGIC-COOKIE-1")
{
    std::string text = numberOf(family);
    for (const std::string &part : { address, display, protocol, cookie })
        text += numberOf(part.size()) + part;
    return text;
}

constexpr unsigned local = 256;
constexpr unsigned wild = 65535;
constexpr unsigned internet = 0;

TEST(X11Cookie, isThatOfThisHostAndDisplay)
{
    const std::string file = entry(local, "other", "0", "a") + entry(local, "here", "1", "b") +
                             entry(local, "here", "0", "c") + entry(local, "here", "0", "d");

    EXPECT_EQ(x11CookieFor(file, "here", 0), "c");
    EXPECT_EQ(x11CookieFor(file, "here", 1), "b");
    EXPECT_EQ(x11CookieFor(file, "here", 10), std::nullopt);
    EXPECT_EQ(x11CookieFor(file, "elsewhere", 0), std::nullopt);
}

TEST(X11Cookie, mayBeForAnyHostAndForAnyDisplay)
{
    EXPECT_EQ(x11CookieFor(entry(wild, "", "", "a"), "here", 7), "a");
    EXPECT_EQ(x11CookieFor(entry(wild, "old-name", "7", "a"), "here", 7), "a");
    EXPECT_EQ(x11CookieFor(entry(local, "here", "", "a"), "here", 7), "a");
}

TEST(X11Cookie, isNoOtherFamilysAndNoOtherProtocols)
{
    const std::string file = entry(internet, "here", "0", "a") + entry(local, "here", "0", "b", "XDM-AUTHORIZATION-1");

    EXPECT_EQ(x11CookieFor(file, "here", 0), std::nullopt);
}

TEST(X11Cookie, mayHoldAnyBytes)
{
    const std::string cookie = "\0\xff\n \0"s;

    EXPECT_EQ(x11CookieFor(entry(local, "here", "0", cookie), "here", 0),
              QByteArray(cookie.data(), static_cast<qsizetype>(cookie.size())));
}

TEST(X11Cookie, isNotFoundInAFileThatIsCutOff)
{
    const std::string file = entry(local, "here", "0", "cookie");

    for (std::size_t length = 0; length < file.size(); ++length)
        EXPECT_EQ(x11CookieFor(file.substr(0, length), "here", 0), std::nullopt) << length;
    EXPECT_EQ(x11CookieFor(std::string(100'000, '\xff'), "here", 0), std::nullopt);
}

} // namespace
} // namespace vantry
