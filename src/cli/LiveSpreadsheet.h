#pragma once
// The running spreadsheet program this velmar can drive: LibreOffice Calc where the backend was
// built, none otherwise.

#include "attbat/frame/CommandRun.h"

namespace cli {

// Makes the Calc backend for a run; empty when this program was built without it.
attbat::LiveServerFactory LiveServerFactory();

}  // namespace cli
