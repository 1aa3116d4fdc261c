#include "sessions/SessionChanges.h"
