#include "base/DebugLog.h"
