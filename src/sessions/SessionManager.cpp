#include "sessions/SessionManager.h"
