#pragma once
// The module's application object as the host sees it: one virtual slot per application message
// code, so that the entry point is a pure dispatch of code N to slot N.

namespace attbat {

// The host's application message codes.
enum AppMsgCode {
    kInitAppMsg = 0,
    kUnloadAppMsg = 1,
    kLoadDwgMsg = 2,
    kUnloadDwgMsg = 3,
    kInvkSubrMsg = 4,
    kCfgMsg = 5,
    kEndMsg = 6,
    kQuitMsg = 7,
    kSaveMsg = 8,
    kDependencyMsg = 9,
    kNoDependencyMsg = 10,
    kOleUnloadAppMsg = 11,
    kPreQuitMsg = 12,
    kInitDialogMsg = 13,
    kEndDialogMsg = 14,
    kSuspendMsg = 15,
};

// The host's answers to a message.
enum AppRetCode { kRetOK = 0, kRetError = 3 };

// The API version the module reports: major 25, the 2025 family.
constexpr unsigned acrxApiVersion = 0x190000;

// Base of the module's application: slots in message-code order, each doing nothing.
class AcRxArxApp {
public:
    virtual ~AcRxArxApp() = default;
    virtual AppRetCode On_kInitAppMsg(void* pkt);
    virtual AppRetCode On_kUnloadAppMsg(void* pkt);
    virtual AppRetCode On_kLoadDwgMsg(void* pkt);
    virtual AppRetCode On_kUnloadDwgMsg(void* pkt);
    virtual AppRetCode On_kInvkSubrMsg(void* pkt);
    virtual AppRetCode On_kCfgMsg(void* pkt);
    virtual AppRetCode On_kEndMsg(void* pkt);
    virtual AppRetCode On_kQuitMsg(void* pkt);
    virtual AppRetCode On_kSaveMsg(void* pkt);
    virtual AppRetCode On_kDependencyMsg(void* pkt);
    virtual AppRetCode On_kNoDependencyMsg(void* pkt);
    virtual AppRetCode On_kOleUnloadAppMsg(void* pkt);
    virtual AppRetCode On_kPreQuitMsg(void* pkt);
    virtual AppRetCode On_kInitDialogMsg(void* pkt);
    virtual AppRetCode On_kEndDialogMsg(void* pkt);
    virtual AppRetCode On_kSuspendMsg(void* pkt);
    // Slot 16; does nothing here.
    virtual void RegisterServerComponents() {}

    // The entry point's dispatch: code N (0..15) to slot N; any other code returns 0 unhandled.
    AppRetCode EntryPoint(int msg, void* pkt);
};

}  // namespace attbat
