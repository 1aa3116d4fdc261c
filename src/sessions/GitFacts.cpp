#include "sessions/GitFacts.h"
