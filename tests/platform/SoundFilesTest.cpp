#include "platform/linux/sound/WaveFile.h"

#include <QDir>
#include <QFile>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace vantry::test {
namespace {

using namespace Qt::StringLiterals;

/// The sounds that come with the program, as the build has made them.
const QStringList names { u"Basso"_s, u"Blow"_s, u"Bottle"_s, u"Frog"_s, u"Funk"_s,   u"Glass"_s,     u"Hero"_s,
                          u"Morse"_s, u"Ping"_s, u"Pop"_s,    u"Purr"_s, u"Sosumi"_s, u"Submarine"_s, u"Tink"_s };

constexpr double rate = 48'000;

/// From -1 to 1; empty where there is no such sound, or none of the kind that is played directly.
std::vector<double> samplesOf(const QString &name)
{
    QFile file(QStringLiteral(VANTRY_SOUNDS) + u'/' + name + u".wav"_s);
    if (!file.open(QFile::ReadOnly))
        return {};
    const std::string bytes = file.readAll().toStdString();
    const auto wave = WaveFile::parse(bytes);
    if (!wave || wave->channels != 1 || wave->sampleRate != static_cast<std::uint32_t>(rate))
        return {};
    std::vector<double> samples;
    for (std::size_t i = 0; i < wave->samples.size(); i += 2) {
        const auto low = static_cast<unsigned char>(wave->samples[i]);
        const auto high = static_cast<unsigned char>(wave->samples[i + 1]);
        samples.push_back(static_cast<std::int16_t>(low | high << 8) / 32'768.0);
    }
    return samples;
}

double peakOf(const std::vector<double> &samples)
{
    double peak = 0;
    for (const double sample : samples)
        peak = std::max(peak, std::abs(sample));
    return peak;
}

/// The two filters of ITU-R BS.1770, made from their frequencies: the head, which makes treble louder, and the ear,
/// which hears little bass.
class Hearing
{
public:
    double operator()(double sample) { return m_bass(m_treble(sample)); }

private:
    struct Filter
    {
        double b0, b1, b2, a1, a2;
        double first { 0 };
        double second { 0 };

        double operator()(double in)
        {
            const double out = b0 * in + first;
            first = b1 * in - a1 * out + second;
            second = b2 * in - a2 * out;
            return out;
        }
    };

    static Filter treble()
    {
        const double k = std::tan(std::numbers::pi * 1681.974450955533 / rate);
        const double q = 0.7071752369554196;
        const double high = std::pow(10.0, 3.999843853973347 / 20);
        const double band = std::pow(high, 0.4996667741545416);
        const double a0 = 1 + k / q + k * k;
        return { (high + band * k / q + k * k) / a0, 2 * (k * k - high) / a0, (high - band * k / q + k * k) / a0,
                 2 * (k * k - 1) / a0, (1 - k / q + k * k) / a0 };
    }
    static Filter bass()
    {
        const double k = std::tan(std::numbers::pi * 38.13547087602444 / rate);
        const double q = 0.5003270373238773;
        const double a0 = 1 + k / q + k * k;
        return { 1, -2, 1, 2 * (k * k - 1) / a0, (1 - k / q + k * k) / a0 };
    }

    Filter m_treble = treble();
    Filter m_bass = bass();
};

/// The loudest 400 ms, in LUFS.
double loudnessOf(const std::vector<double> &samples)
{
    constexpr std::size_t window = 19'200;
    Hearing hearing;
    std::vector<double> energies(window, 0.0); // Silence stands before the sound.
    for (const double sample : samples)
        energies.push_back(std::pow(hearing(sample), 2));
    double energy = 0;
    double most = 0;
    for (std::size_t i = window; i < energies.size(); ++i) {
        energy += energies[i] - energies[i - window];
        most = std::max(most, energy);
    }
    return -0.691 + 10 * std::log10(most / window);
}

class SoundFilesTest : public ::testing::TestWithParam<QString>
{
protected:
    const std::vector<double> samples = samplesOf(GetParam());
};

TEST_P(SoundFilesTest, lastsAMoment)
{
    const double seconds = static_cast<double>(samples.size()) / rate;
    EXPECT_GE(seconds, 0.2);
    EXPECT_LE(seconds, 1.0);
}

TEST_P(SoundFilesTest, isAsLoudAsTheOthers)
{
    EXPECT_NEAR(loudnessOf(samples), -20, 0.5);
}

TEST_P(SoundFilesTest, isNeverOverdriven)
{
    EXPECT_LT(peakOf(samples), std::pow(10.0, -3.0 / 20));
}

TEST_P(SoundFilesTest, beginsAndEndsInSilenceWithoutAClick)
{
    ASSERT_FALSE(samples.empty());
    constexpr std::size_t moment = 48; // A millisecond.
    const std::vector<double> first(samples.begin(), samples.begin() + moment);
    const std::vector<double> last(samples.end() - moment, samples.end());
    EXPECT_EQ(samples.front(), 0);
    EXPECT_NEAR(samples.back(), 0, 0.0005);
    EXPECT_LT(peakOf(first), 0.1 * peakOf(samples)) << "the attack isn't soft";
    EXPECT_LT(peakOf(last), 0.02 * peakOf(samples)) << "it breaks off";
}

TEST_P(SoundFilesTest, hasNoOffset)
{
    double sum = 0;
    for (const double sample : samples)
        sum += sample;
    EXPECT_NEAR(sum / static_cast<double>(samples.size()), 0, 0.001);
}

INSTANTIATE_TEST_SUITE_P(Sounds, SoundFilesTest, ::testing::ValuesIn(names),
                         [](const auto &sound) { return sound.param.toStdString(); });

TEST(SoundSetTest, hasNoOthers)
{
    const QStringList files = QDir(QStringLiteral(VANTRY_SOUNDS)).entryList(QDir::Files, QDir::Name);
    QStringList expected;
    for (const QString &name : names)
        expected.append(name + u".wav"_s);
    EXPECT_EQ(files, expected);
}

} // namespace
} // namespace vantry::test
