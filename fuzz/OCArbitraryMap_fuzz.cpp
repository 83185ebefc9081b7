// Any bytes as an arbitrary map, for a preview and for curves.
#include "fuzz/LUTReader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzLUTReader({data, size}, OCReadArbitraryMap, OCReadArbitraryMapCurves);
    return 0;
}
