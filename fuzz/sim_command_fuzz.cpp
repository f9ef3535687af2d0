// Feeds arbitrary bytes to the simulator's command decoding: the decoder and what the driver
// side records for a command. A message is either refused or decodes to a command that, built
// again with the same code and payload, gives back exactly the same bytes; a recorded change
// always names a key.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "commands.h"
#include "driversettings.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::optional<tavix::DecodedCommand> command = tavix::decodeCommand(data, size);
    if (!command) {
        return 0;
    }
    if (size != 1 + static_cast<std::size_t>(command->payloadWidth) ||
        command->payloadWidth != tavix::commandPayloadWidth(command->code) ||
        tavix::commandName(command->code) == nullptr) {
        std::abort();
    }
    const auto code = static_cast<tavix::CommandCode>(command->code);
    tavix::Bytes again;
    switch (command->payloadWidth) {
        case 0:
            again = tavix::makeCommand(code);
            break;
        case 1:
            again = tavix::makeCommandU8(code, static_cast<std::uint8_t>(command->integer));
            break;
        case 2:
            again = tavix::makeCommandU16(code, command->integer);
            break;
        default:
            again = tavix::makeCommandDouble(code, command->real);
            break;
    }
    if (again.size() != size || std::memcmp(again.data(), data, size) != 0) {
        std::abort();
    }
    for (const std::int32_t model : {0, 259, 317, -1}) {
        const auto change = tavix::sim::settingChangeForCommand(*command, model);
        if (change && change->key.empty()) {
            std::abort();
        }
    }
    return 0;
}
