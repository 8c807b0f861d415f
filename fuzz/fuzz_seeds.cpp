// Writes a seed corpus for one encoding: the envelope kinds and the shapes the user interface
// sends and receives, plus the awkward corners of each encoding.
#include "codec.h"

#include <cstdio>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

namespace {

Message wrapped(const char* kind, const Message& body)
{
    Message envelope(kind);
    envelope.add_child(body);
    return envelope;
}

std::vector<Message> seed_messages()
{
    std::vector<Message> seeds;
    seeds.push_back(Message(ipc::envelope::kChallenge, Params("nonce=00112233445566778899aabbccddeeff protocol=1")));
    seeds.push_back(Message(ipc::envelope::kLogin, Params("user=user mac=9f86d081884c7d659a2feaa0c55ad015")));
    seeds.push_back(Message(ipc::envelope::kLoginResult, Params("ok:b=true")));
    seeds.push_back(Message(ipc::envelope::kSubscribe, Params("pattern=wifi:* flags:u=0")));
    seeds.push_back(wrapped(ipc::envelope::kCommand, Message("getPeerList", Params("seq=peerList"))));

    Message peerList("peerList", Params("seq=peerList"));
    for (int id = 1; id <= 3; ++id) {
        Message& peer = peerList.add_child("peer");
        peer.params() = Params("name=\"Studio A\" state:i=2 active:b=false rate:u=64000");
        peer.params().set_int("id", id);
        peer.add_child("channel").params().set_int("delay", -id * 1000);
    }
    seeds.push_back(wrapped(ipc::envelope::kResponse, peerList));

    Message unso(ipc::envelope::kUnso, Params("id=peer_stats"));
    unso.add_child("peer_stats").params() = Params("jitter:u=12 lost:u=4294967295 level:i=-2147483648");
    seeds.push_back(unso);

    Message awkward("\x01name", Params());
    awkward.params().set_string(std::string("k\0ey", 4), std::string("\xff\xfe\r\n\t<&>\"", 9));
    awkward.params().set_string("", "");
    awkward.add_child("\xc3\x28");
    seeds.push_back(awkward);

    Message deep("level");
    Message* current = &deep;
    for (int level = 0; level < 20; ++level)
        current = &current->add_child("level");
    seeds.push_back(deep);
    return seeds;
}

} // namespace

int main(int argc, char** argv)
{
    ipc::Encoding encoding;
    if (argc != 3 || !ipc::parse_encoding(argv[1], encoding)) {
        std::fprintf(stderr, "usage: %s compact|xmls <directory>\n", argv[0]);
        return 2;
    }
    int index = 0;
    for (const Message& message : seed_messages()) {
        const std::string path = std::string(argv[2]) + "/seed-" + std::to_string(index++);
        std::ofstream(path, std::ios::binary) << ipc::encode(encoding, message);
    }
    return 0;
}
