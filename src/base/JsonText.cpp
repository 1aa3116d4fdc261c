#include "base/JsonText.h"
