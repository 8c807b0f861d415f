#ifndef LOGINBURST_H
#define LOGINBURST_H

#include "message.h"

#include <QStringList>

// What the client asks the backend for at every login, in order, as "name key=value ...".
inline const QStringList kLoginBurst = {
    "loadSettings seq=loadSettings", "cfgDescribe path=netmgr.devices status=raw seq=networkList depth:u=2",
    "getProfileList seq=profileList", "getCodecList seq=codecList", "getDirectoryServer seq=directoryServer",
    "getPeerList seq=peerList", "getSysOptions seq=sysOptions", "getPowerInfo seq=powerInfo",
    "getChannelList seq=channelList", "getChannelOpts seq=channelOpts",
    "cfgGetStatus path=netmgr.tunnel seq=statusTunnel", "getVersion seq=version",
    "cfgDescribe path=netmgr.remote.password seq=pwd"};

inline Message loginRequest(const QString& text)
{
    return Message(text.section(' ', 0, 0).toStdString(), Params(text.section(' ', 1).toLatin1().constData()));
}

#endif
