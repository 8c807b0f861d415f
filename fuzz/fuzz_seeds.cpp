// Writes a seed corpus for one encoding: the login exchange, and every kind of data of a
// simulator scenario as the unit would answer it.
#include "codec.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

int main(int argc, char** argv)
{
    ipc::Encoding encoding;
    if (argc != 4 || !ipc::parse_encoding(argv[1], encoding)) {
        std::fprintf(stderr, "usage: %s compact|xmls <directory> <scenario.xml>\n", argv[0]);
        return 2;
    }
    std::ifstream in(argv[3], std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(in), {}};
    Message scenario;
    std::string error;
    if (!ipc::decode(ipc::Encoding::Xmls, text.data(), text.size(), scenario, error)) {
        std::fprintf(stderr, "%s: %s\n", argv[3], error.c_str());
        return 1;
    }
    std::vector<Message> seeds = {
        Message(ipc::envelope::kChallenge, Params("nonce=00112233445566778899aabbccddeeff protocol=1")),
        Message(ipc::envelope::kLogin, Params("user=user mac=9f86d081884c7d659a2feaa0c55ad015")),
        Message(ipc::envelope::kLoginResult, Params("ok:b=true"))};
    for (std::size_t i = 0; i < scenario.child_count(); ++i)
        seeds.emplace_back(ipc::envelope::kResponse).add_child(scenario.child(i));
    for (std::size_t i = 0; i < seeds.size(); ++i)
        std::ofstream(std::string(argv[2]) + "/seed-" + std::to_string(i), std::ios::binary) << ipc::encode(encoding, seeds[i]);
    return 0;
}
