#pragma once

#include <QByteArray>

#include <chrono>
#include <cstdint>

namespace vantry {

/// What answers on a local port.
enum class PortHealth {
    Free,     ///< Nothing listens.
    Answers,  ///< It answers "GET /health" as the hook server does.
    Stranger, ///< Something else listens, or it does not answer in time.
};

/// Asks 127.0.0.1. Blocks, at most for `patience` at each step.
[[nodiscard]] PortHealth probeHealth(std::uint16_t port, std::chrono::milliseconds patience);

/// Whether the bytes are the hook server's answer to "GET /health". Pure.
[[nodiscard]] bool isHealthAnswer(QByteArrayView response);

} // namespace vantry
