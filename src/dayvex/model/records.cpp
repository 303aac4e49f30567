// The records are plain structs; this unit only anchors their meta-objects.
#include "records.h"
