/* The header compiles as C11 and says what C++ says. */
#include "host/ochrine_host.h"

size_t OchrineBlockSizeInC(void);
size_t OchrineSettingsOffsetInC(void);
uint32_t OchrineStatusInC(OchrineBlock* block, uint32_t status);

size_t OchrineBlockSizeInC(void)
{
    return sizeof(OchrineBlock);
}

size_t OchrineSettingsOffsetInC(void)
{
    return offsetof(OchrineBlock, settings);
}

uint32_t OchrineStatusInC(OchrineBlock* block, uint32_t status)
{
    OchrineStoreStatus(block, status);
    return OchrineLoadStatus(block);
}
