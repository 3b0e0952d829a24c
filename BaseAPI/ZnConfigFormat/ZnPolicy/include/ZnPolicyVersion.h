// The version that a program is compiled with. The installed libraries may be newer: every version
// with the same major number runs it.
#pragma once

// Changes with incompatible changes, as does the SONAME.
#define ZN_POLICY_VERSION_MAJOR 1
// Changes with additions.
#define ZN_POLICY_VERSION_MINOR 1
// Changes with corrections.
#define ZN_POLICY_VERSION_PATCH 0

// The version as text.
#define ZN_POLICY_VERSION_STRING "1.1.0"
// The version as a number for comparisons: 10100 for 1.1.0.
#define ZN_POLICY_VERSION \
    (ZN_POLICY_VERSION_MAJOR * 10000 + ZN_POLICY_VERSION_MINOR * 100 + ZN_POLICY_VERSION_PATCH)

#ifdef __cplusplus
// The same number with a type.
inline constexpr int kZnPolicyVersion = ZN_POLICY_VERSION;
#endif
