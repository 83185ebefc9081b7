// In the shared library alone: a program that loads it hears nothing from the engine until it asks.
#include "host/ochrine.h"

namespace {

__attribute__((constructor)) void BeSilent()
{
    ochrine_set_log(nullptr, nullptr);
}

} // namespace
