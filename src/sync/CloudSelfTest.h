#pragma once

#include "CalDavClient.h"

class CalDavMirror;
class QNetworkAccessManager;

// A developer's diagnostic, switched on with TAVIK_CK_SELFTEST=1: it bypasses the store and
// runs against the configured account the CalDAV operations the mirror depends on, one line
// each on standard error with the prefix "[CK-SELFTEST] ", and then logs every finished event
// of the mirror. It changes nothing in the board.
namespace CloudSelfTest {

inline constexpr char environmentVariable[] = "TAVIK_CK_SELFTEST";
inline constexpr int stepTimeLimitSecs = 25;

// `passwordProblem` is why the password could not be read (empty when it was); `mirror` may
// be null. Does nothing unless the variable is exactly "1".
void runIfRequested(const CalDavClient::Account& account, const QString& passwordProblem,
                    QNetworkAccessManager* network, CalDavMirror* mirror);

} // namespace CloudSelfTest
