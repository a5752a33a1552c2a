// The bridge tests of both backends, here against the file backend.
#include "BridgeFixture.h"

INSTANTIATE_TEST_SUITE_P(File, BackendTest, ::testing::Values(BackendKind::File), BackendName);
