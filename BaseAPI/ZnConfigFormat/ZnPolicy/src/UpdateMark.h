// The update mark file, which lists what the last destination directory of an installation got.
#pragma once

inline constexpr char VEK_MICROSERVICES_VM_SERVER_VC_UPDATED_MARK[] =
    "/usr/local/vornserver/bin/microservices/vcUpdated.mark";
