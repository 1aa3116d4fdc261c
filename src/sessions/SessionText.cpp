#include "sessions/SessionText.h"
