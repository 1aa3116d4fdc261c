#pragma once

#include "platform/SoundPlayer.h"

namespace vantry::test {

/// Keeps what it was to play, in order: "named NAME" or "file PATH".
class FakeSoundPlayer final : public SoundPlayer
{
public:
    void playNamed(const QString &name) override { played.append(QStringLiteral("named ") + name); }
    void playFile(const QString &path) override { played.append(QStringLiteral("file ") + path); }
    [[nodiscard]] QStringList names() const override { return sounds; }
    [[nodiscard]] std::optional<Problem> problem() const override { return {}; }

    QStringList played;
    QStringList sounds;
};

} // namespace vantry::test
