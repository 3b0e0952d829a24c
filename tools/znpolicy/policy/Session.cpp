#include "Session.h"

#include "ItemReference.h"
#include "PolicyAccess.h"
#include "RedirectionModules.h"
#include "VcItems.h"
#include "ZnAutoCloseDisplayerVek.h"
#include "ZnBandwidthPolicy.h"
#include "ZnIdtVek.h"
#include "ZnVcVek.h"

// Finds out whether the absolute bandwidth of a module alone gives its allowance.
static std::string WinningLimit(ZnXml& xml, const ModuleItems& names, int bytesPerSecond) {
    if (names.module == kTotalBandwidth) {
        return "total";
    }
    PolicyCfgItemValue absolute = {};
    xml.GetXmlContent(names.bandwidthSpecified.c_str(), absolute.bandwidthSpecified);
    xml.GetXmlContent(names.bandwidth.c_str(), absolute.bandwidth);
    ZnBandwidthPolicy alone;
    alone.CalculateModuleAllowedBandwidth(0, names.module, absolute);
    return alone.GetBandwidthBytesPerSec(names.module.c_str()) == bytesPerSecond ? "absolute"
                                                                                 : "share";
}

static std::vector<Allowance> ReadBandwidth(ZnXml& xml, int id) {
    ZnBandwidthPolicy policy;
    policy.ReadBandwidthPolicy(id);
    std::vector<Allowance> allowances;
    for (const ModuleItems& names : BandwidthModules()) {
        const int bytesPerSecond = policy.GetBandwidthBytesPerSec(names.module.c_str());
        if (bytesPerSecond != 0) {
            allowances.push_back({names.module, bytesPerSecond,
                                  policy.GetBandwidthBytesPerMs(names.module.c_str()),
                                  WinningLimit(xml, names, bytesPerSecond)});
        }
    }
    return allowances;
}

Session ReadSession(int id) {
    ZnXml xml;
    LoadPolicy(xml, id);
    Session session;
    session.dataTransportFlag = ZnIdtVek::ReadIdtPolicy(id);
    ZnVcVek::ZnReadVekReconnectPolicy(id, session.reconnect);
    session.disableLoginHint = ZnVcVek::ZnDisableLoginHintPolicy(id);
    session.autoCloseSeconds = ZnAutoCloseDisplayerVek::ReadVekAutoCloseDisplayer(id);
    session.bandwidth = ReadBandwidth(xml, id);
    std::string vcList;
    ZnVcVek::ZnReadVekVcPolicy(id, vcList);
    if (!vcList.empty() && ZnVcVek::ZnParseVekVcItems(vcList, session.vcItems) != 0) {
        session.vcProblem = DescribeVcProblem(vcList);
    }
    return session;
}
