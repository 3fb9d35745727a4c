// One of the vendor libraries: hands every call on to the model. SURFACE names the list of its functions.
#include "surfaces/model_interface.h"

extern "C" {
#define VENDOR_FUNCTION(result, name, parameters, arguments)                                                           \
    result name parameters {                                                                                           \
        return virtualBoard_##name arguments;                                                                          \
    }
#include SURFACE
}
