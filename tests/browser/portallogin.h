#ifndef TESTS_BROWSER_PORTALLOGIN_H
#define TESTS_BROWSER_PORTALLOGIN_H

#include "localwebserver.h"
#include "pickboardkeys.h"
#include "webauth.h"

#include <QTest>

// The operator's login for the local portal, typed on the dialog's own keyboard: the user name
// into the field that has the focus, a tap on the password field, the password.
inline bool typePortalLogin(WebAuth& dialog)
{
    auto* keyboard = dialog.findChild<PickBoard*>();
    if (!keyboard || !typeOnPickBoard(*keyboard, LocalWebServer::kUser))
        return false;
    QTest::mouseClick(dialog.linePassword, Qt::LeftButton);
    return typeOnPickBoard(*keyboard, LocalWebServer::kPassword);
}

#endif
