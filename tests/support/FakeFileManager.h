#pragma once

#include "platform/FileManager.h"

#include <QStringList>

namespace vantry::test {

/// Writes down what it is to show.
class FakeFileManager final : public FileManager
{
public:
    void reveal(const QString &path) override { revealed.append(path); }
    [[nodiscard]] QString revealLabel() const override { return QStringLiteral("Show in Folder"); }

    QStringList revealed;
};

} // namespace vantry::test
