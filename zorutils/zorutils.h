// zorutils: the umbrella header. Includes every public header of the library
// and of its foundation library zorfutls.
#pragma once

#include <zorfutls/zorfutls.h>

#include <zorutils/Export.h>

// Text primitives
#include <zorutils/text/COMString.h>
#include <zorutils/text/Locks.h>
#include <zorutils/text/StringUtils.h>

// Containers
#include <zorutils/containers/DynArray.h>
