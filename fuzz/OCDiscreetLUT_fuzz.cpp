// Any bytes as a Discreet table, for a preview and for curves.
#include "fuzz/LUTReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzLUTReader({data, size}, OCReadDiscreetLUT, OCReadDiscreetCurves);
    return 0;
}
