#include "Session.h"

#include <iterator>
#include <set>

#include "PolicyAccess.h"
#include "RedirectionModules.h"
#include "VcItems.h"
#include "ZnAutoCloseDisplayerVek.h"
#include "ZnBandwidthPolicy.h"
#include "ZnIdtVek.h"
#include "ZnVcVek.h"

// Finds out whether the absolute bandwidth of a module alone gives its allowance.
static std::string WinningLimit(ZnXml& xml, const std::string& module, int bytesPerSecond) {
    if (module == kTotalBandwidth) {
        return "total";
    }
    PolicyCfgItemValue absolute = {};
    xml.GetXmlContent((module + "BandwidthSpecified").c_str(), absolute.bandwidthSpecified);
    xml.GetXmlContent((module + "Bandwidth").c_str(), absolute.bandwidth);
    ZnBandwidthPolicy alone;
    alone.CalculateModuleAllowedBandwidth(0, module, absolute);
    return alone.GetBandwidthBytesPerSec(module.c_str()) == bytesPerSecond ? "absolute" : "share";
}

static std::vector<Allowance> ReadBandwidth(ZnXml& xml, int id) {
    ZnBandwidthPolicy policy;
    policy.ReadBandwidthPolicy(id);
    const std::set<std::string> modules(std::begin(kRedirectionModules),
                                        std::end(kRedirectionModules));
    std::vector<Allowance> allowances;
    for (const std::string& module : modules) {
        const int bytesPerSecond = policy.GetBandwidthBytesPerSec(module.c_str());
        if (bytesPerSecond != 0) {
            allowances.push_back({module, bytesPerSecond,
                                  policy.GetBandwidthBytesPerMs(module.c_str()),
                                  WinningLimit(xml, module, bytesPerSecond)});
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
