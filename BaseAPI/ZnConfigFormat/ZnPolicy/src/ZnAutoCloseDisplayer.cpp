#include <string>

#include "ZnAutoCloseDisplayerVek.h"
#include "ZnLog.h"
#include "ZnXml.h"

int ZnAutoCloseDisplayerVek::ReadVekAutoCloseDisplayer(int terminalId) {
    ZN_LOG(LogLevelInfo, "terminalId=%d", terminalId);
    ZnXml xml;
    if (!xml.LoadPolicyShareMemory(terminalId)) {
        ZN_LOG(LogLevelError, "LoadPolicyShareMemory Failed:terminalId=%d", terminalId);
        return 0;
    }
    std::string policyName;
    if (!xml.GetXmlContent("PolicyName", policyName)) {
        ZN_LOG(LogLevelInfo, "PolicyName Failed");
        return 0;
    }
    int flag = 0;
    if (!xml.GetXmlContent("AutoCloseDisplayerFlag", flag)) {
        ZN_LOG(LogLevelInfo, "get AutoCloseDisplayerFlag Failed");
        return 0;
    }
    if (flag == 0) {
        ZN_LOG(LogLevelInfo, "Auto Close Displayer is closed");
        return 0;
    }
    int seconds = 0;
    if (!xml.GetXmlContent("AutoCloseDisplayerSecond", seconds)) {
        ZN_LOG(LogLevelInfo, "get AutoCloseDisplayerSecond Failed");
        return 0;
    }
    ZN_LOG(LogLevelInfo, "AutoCloseDisplayerFlag=%d,AutoCloseDisplayerSecond=%d", flag, seconds);
    return seconds;
}
