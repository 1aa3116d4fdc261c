#include "base/Paths.h"
