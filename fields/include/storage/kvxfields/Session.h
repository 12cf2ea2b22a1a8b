#pragma once

/// @file
/// The fields of the records for login, logout and ping.

#include "storage/kvxclient/SessionRecords.h"
#include "storage/kvxfields/Field.h"

namespace storage::kvxfields {

/// @cond
KVXFIELDS_LIST(LoginRequest, field<&R::getToken, &R::withToken, Kind::SECRET>("token"))
KVXFIELDS_LIST(
    LoginResponse, field<&R::getSessionId, &R::withSessionId, Kind::SECRET>("sessionId"),
    field<&R::getMinutesBeforeRelogin, &R::withMinutesBeforeRelogin>("minutesBeforeRelogin"))
KVXFIELDS_LIST(LogoutRequest, )
KVXFIELDS_LIST(LogoutResponse, )
KVXFIELDS_LIST(PingResponse, field<&R::getValue, &R::withValue>("value"))
/// @endcond

}  // namespace storage::kvxfields
