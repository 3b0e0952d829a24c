// A product's own libZnXml: the contract of ZnXml.h and nothing else. Every id has one policy,
// whose items all are 77.
#include "ZnXml.h"

struct ZnXml::Impl {};

ZnXml::ZnXml() = default;

ZnXml::~ZnXml() = default;

bool ZnXml::LoadPolicyShareMemory(int /*id*/) {
    return true;
}

bool ZnXml::GetXmlContent(const char* /*key*/, std::string& value) {
    value = "77";
    return true;
}

bool ZnXml::GetXmlContent(const char* /*key*/, int& value) {
    value = 77;
    return true;
}
