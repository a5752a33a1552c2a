// The bridge tests of both backends, here against a headless soffice of the program's own.
#include "BridgeFixture.h"

INSTANTIATE_TEST_SUITE_P(Calc, BackendTest, ::testing::Values(BackendKind::Calc), BackendName);
