#pragma once

#include <QObject>
#include <QtQml/qqmlregistration.h>

namespace vantry {

/// The design's sizes, text styles and durations, in logical pixels at text scale 1.0. Main thread only.
class Tokens : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(qreal panelWidth READ panelWidth CONSTANT)
    Q_PROPERTY(qreal panelHeight READ panelHeight CONSTANT)

public:
    explicit Tokens(QObject *parent = nullptr);

    [[nodiscard]] qreal panelWidth() const { return 380; }
    [[nodiscard]] qreal panelHeight() const { return 440; }
};

} // namespace vantry
