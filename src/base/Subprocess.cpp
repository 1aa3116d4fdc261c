#include "base/Subprocess.h"
