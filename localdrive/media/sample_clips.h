#pragma once

#include <string>
#include <vector>

namespace localdrive {

enum class Tracks {
    Plain,     // One sound track.
    Languages, // Sound in jpn and chi, subtitles in chi and eng (Matroska).
};

// A video of the sample library.
struct Clip
{
    const char *path; // Below "drives/".
    int width;
    int height;
    int framesPerSecond;
    int seconds;
    const char *colour; // Of the background, as ffmpeg names it.
    Tracks tracks = Tracks::Plain;
    bool isEpisode = false; // Has an intro and an outro.
};

const std::vector<Clip> &sampleClips();

// The command that makes a clip. The folder is for the texts the command needs, which are
// written here; the video's name in the picture is its file's name without extension.
std::vector<std::string> clipCommand(const Clip &clip, const std::string &workFolder,
                                     const std::string &target);

// A subtitle text in SubRip form with a cue for each three seconds: time and label.
std::string subtitleText(const std::string &label, int seconds);

constexpr int IntroSeconds = 10;
constexpr int OutroSeconds = 10;

} // namespace localdrive
