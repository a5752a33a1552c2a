#include "attbat/frame/AcRxArxApp.h"

#include <iterator>

namespace attbat {

AppRetCode AcRxArxApp::On_kInitAppMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kUnloadAppMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kLoadDwgMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kUnloadDwgMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kInvkSubrMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kCfgMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kEndMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kQuitMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kSaveMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kDependencyMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kNoDependencyMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kOleUnloadAppMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kPreQuitMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kInitDialogMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kEndDialogMsg(void*) { return kRetOK; }
AppRetCode AcRxArxApp::On_kSuspendMsg(void*) { return kRetOK; }

AppRetCode AcRxArxApp::EntryPoint(int msg, void* pkt) {
    using Slot = AppRetCode (AcRxArxApp::*)(void*);
    static constexpr Slot slots[] = {
        &AcRxArxApp::On_kInitAppMsg,      &AcRxArxApp::On_kUnloadAppMsg,
        &AcRxArxApp::On_kLoadDwgMsg,      &AcRxArxApp::On_kUnloadDwgMsg,
        &AcRxArxApp::On_kInvkSubrMsg,     &AcRxArxApp::On_kCfgMsg,
        &AcRxArxApp::On_kEndMsg,          &AcRxArxApp::On_kQuitMsg,
        &AcRxArxApp::On_kSaveMsg,         &AcRxArxApp::On_kDependencyMsg,
        &AcRxArxApp::On_kNoDependencyMsg, &AcRxArxApp::On_kOleUnloadAppMsg,
        &AcRxArxApp::On_kPreQuitMsg,      &AcRxArxApp::On_kInitDialogMsg,
        &AcRxArxApp::On_kEndDialogMsg,    &AcRxArxApp::On_kSuspendMsg,
    };
    if (msg < 0 || msg >= static_cast<int>(std::size(slots))) return kRetOK;
    return (this->*slots[msg])(pkt);
}

}  // namespace attbat
