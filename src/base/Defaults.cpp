#include "base/Defaults.h"
