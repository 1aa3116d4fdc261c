#include "sessions/LiveProcessChecker.h"
