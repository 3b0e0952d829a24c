// The format of a package's manifest, which the installer and everything that predicts it share.
#pragma once

// The manifest, and the directory of the files that it lists, both in the package's directory.
inline constexpr char kManifestName[] = "FileList.ini";
inline constexpr char kPayloadDirectory[] = "Common";

// The section and key that give the package's platform, spelled as packages spell them.
inline constexpr char kPlatformSection[] = "Package_Intall_Type";
inline constexpr char kPlatformKey[] = "PackageIntallType";

// The buffer size that the INI reader is given for a value: longer values are cut to one byte less.
inline constexpr int kManifestValueCapacity = 259;
