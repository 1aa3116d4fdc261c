#include "sessions/SessionStore.h"
