#include "PacketListing.h"

#include <sstream>
#include <stdexcept>

#include "RunProgram.h"

namespace TWQuickTime::moviefile::test {
namespace {

std::optional<std::int64_t> numberOf(const std::string& field) {
    if (field.empty() || field == "N/A")
        return std::nullopt;
    return std::stoll(field);
}

std::string probe(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {"ffprobe", "-v", "error", "-of", "csv=p=0"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const auto result = TWQuickTime::test::runProgram(command);
    if (result.exitStatus != 0)
        throw std::runtime_error("ffprobe: " + result.errors);
    return result.output;
}

}  // namespace

std::vector<Packet> listPackets(const std::string& path) {
    std::istringstream lines(probe({"-ignore_editlist", "1", "-show_entries",
                                    "packet=stream_index,pts,dts,duration,size,pos,flags", path}));
    std::vector<Packet> packets;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream row(line);
        std::vector<std::string> fields;
        for (std::string field; std::getline(row, field, ',');)
            fields.push_back(field);
        // Side data add lines of their own.
        if (fields.size() < 7 || fields[0].empty())
            continue;
        Packet packet;
        packet.stream = std::stoul(fields[0]);
        packet.displayTime = numberOf(fields[1]);
        packet.decodeTime = numberOf(fields[2]);
        packet.duration = numberOf(fields[3]);
        packet.sizeInBytes = std::stoull(fields[4]);
        packet.offset = std::stoull(fields[5]);
        packet.key = fields[6].front() == 'K';
        packets.push_back(packet);
    }
    return packets;
}

std::size_t countStreams(const std::string& path) {
    std::istringstream lines(probe({"-show_entries", "stream=index", path}));
    std::size_t count = 0;
    for (std::string line; std::getline(lines, line);)
        count += line.empty() ? 0 : 1;
    return count;
}

}  // namespace TWQuickTime::moviefile::test
