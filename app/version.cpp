#include "app/version.h"

const char kLumentaVersion[] = LUMENTA_VERSION; // from the build
