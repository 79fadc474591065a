#pragma once

// Host code has always found the procedure directory here; it lives with the
// library's own procedure machinery.
#include <brelldata/procedures/DApi.h>
