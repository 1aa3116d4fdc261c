#include "style/Tokens.h"

namespace vantry {

Tokens::Tokens(QObject *parent)
    : QObject(parent)
{}

} // namespace vantry
