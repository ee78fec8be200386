#include "engine/files/formats/ChannelChoice.h"

#include "engine/files/FileErrors.h"

#include <string>

namespace engine {

namespace {

std::string Count(std::int64_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string Option(const std::string& option, std::int64_t count) {
    return option + " N, N from 0 to " + std::to_string(count - 1);
}

void RequireInRange(std::optional<std::int64_t> chosen, std::int64_t count, const char* option,
                    const std::string& what) {
    if (!chosen || (*chosen >= 0 && *chosen < count))
        return;
    throw CFileReason(std::string(option) + " " + std::to_string(*chosen) + " is not one of its " +
                          Count(count, what) + (count == 1 ? ", 0" : ", 0 to " + std::to_string(count - 1)),
                      EnFault::CALLER);
}

void RequireChoices(const StImageHeader& header, bool hasChannel, bool hasTime) {
    const std::int64_t channels = header.ChannelCount();
    const std::int64_t times = header.series.times;
    const bool lacksChannel = channels > header.samplesPerPixel && !hasChannel;
    const bool lacksTime = times > 1 && !hasTime;
    if (lacksChannel && lacksTime)
        throw CFileReason("it has " + Count(channels, "channel") + " and " + Count(times, "time point") +
                          "; choose one with " + Option("--channel", channels) + ", and " +
                          Option("--time", times));
    if (lacksChannel)
        ThrowSeveralChannels(channels);
    if (lacksTime)
        throw CFileReason("it has " + Count(times, "time point") + "; choose one with " +
                          Option("--time", times));
}

void SkipTo(StImageHeader& header) {
    const std::int64_t planes = header.size.Dim() > 2 ? header.size.z : 1;
    const std::int64_t before = header.ByteCount() / planes * header.firstPlane;
    (header.data.isPacked ? header.data.skip : header.data.offset) += before;
    header.data.rest = header.TotalByteCount() - header.ByteCount() - before;
}

} // namespace

void ThrowSeveralChannels(std::int64_t channels) {
    throw CFileReason("it has " + Count(channels, "channel") + "; choose one with " +
                      Option("--channel", channels));
}

void ChooseImage(StImageHeader& header, std::optional<std::int64_t> channel,
                 std::optional<std::int64_t> time) {
    RequireInRange(channel, header.ChannelCount(), "--channel", "channel");
    RequireInRange(time, header.series.times, "--time", "time point");
    RequireChoices(header, channel.has_value(), time.has_value());
    std::int64_t place = channel.value_or(0);
    if (channel)
        header.pickedSample = static_cast<int>(place % header.samplesPerPixel);
    place /= header.samplesPerPixel;
    header.separateSample = static_cast<int>(place % header.separateSamples);
    place /= header.separateSamples;
    header.firstPlane = place * header.series.channelDistance + time.value_or(0) * header.series.timeDistance;
    SkipTo(header);
}

} // namespace engine
