#ifndef TUNNELCONNECTION_H
#define TUNNELCONNECTION_H

#include <string>

class Message;
class Params;

// The statistics of one direction of a connection. Rates are in kbit/s; the meaning of the
// plain values is the backend's.
struct TunnelLinkStats {
    bool throttle_present = false;
    int throttle = 0;
    int td = 0;
    int tp = 0;
    int tf = 0;
    int tr = 0;
    int d = 0;
    int dm = 0;
    int dq = 0;
    int pl = 0;

    // Reads the keys of a "conn"; the receive direction's keys carry an "r" in front.
    void read(const Params& conn, const std::string& prefix);
};

// One network connection of a tunnel session, a pair of local and remote interfaces.
class TunnelConnection {
public:
    // "li:ri" of a "conn"; empty when either is missing.
    static std::string uidOf(const Message& conn);

    // Re-reads interfaces and link statistics from a "conn" whose uid is this one's.
    void parseConnNode(const Message& conn);
    // Takes the descriptive texts of a "conn" for this connection.
    void updateConnectionStatus(const Message& conn);

    const TunnelLinkStats& tx() const { return m_tx; }
    const TunnelLinkStats& rx() const { return m_rx; }
    bool isNew() const { return m_new; }
    void setNew(bool isNew) { m_new = isNew; }
    bool isPresent() const { return m_present; }
    void setPresent(bool present) { m_present = present; }
    int li() const { return m_li; }
    int ri() const { return m_ri; }
    int position() const { return m_position; }
    void setPosition(int position) { m_position = position; }
    const std::string& uid() const { return m_uid; }
    const std::string& ldesc() const { return m_ldesc; }
    const std::string& rdesc() const { return m_rdesc; }
    const std::string& name() const { return m_name; }

private:
    TunnelLinkStats m_tx;
    TunnelLinkStats m_rx;
    bool m_new = true;
    bool m_present = false;
    int m_li = 0;
    int m_ri = 0;
    int m_position = -1;
    std::string m_uid;
    std::string m_ldesc;
    std::string m_rdesc;
    std::string m_name;
};

#endif
