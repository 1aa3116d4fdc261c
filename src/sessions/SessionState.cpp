#include "sessions/SessionState.h"
