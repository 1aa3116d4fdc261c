#include "terminal/TerminalBridge.h"

namespace vantry {

TerminalBridge::TerminalBridge(Ports ports, QString pythonPath)
    : m_ports(std::move(ports))
    , m_pythonPath(std::move(pythonPath))
{}

TerminalBridge::~TerminalBridge() = default;

} // namespace vantry
