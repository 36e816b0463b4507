#include "localdrive/media/sample_clips.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace localdrive {
namespace {

constexpr int CueSeconds = 3;
constexpr int KeyframeSeconds = 4; // A part of a stream begins with each.
constexpr int TimeCells = 12;
constexpr char TextFont[] = "Noto Sans CJK SC";
constexpr char DigitFont[] = "DejaVu Sans Mono";

void append(std::vector<std::string> &command, const std::vector<std::string> &more)
{
    command.insert(command.end(), more.begin(), more.end());
}

std::string text(int number)
{
    return std::to_string(number);
}

void writeFile(const fs::path &path, const std::string &content)
{
    std::ofstream(path, std::ios::binary) << content;
}

std::string clockText(int seconds)
{
    std::array<char, 32> buffer{};
    std::snprintf(buffer.data(), buffer.size(), "%02d:%02d:%02d", seconds / 3600, seconds / 60 % 60,
                  seconds % 60);
    return buffer.data();
}

std::string plain(const Clip &clip, const char *colour, int seconds)
{
    return std::string("color=c=") + colour + ":s=" + text(clip.width) + 'x' + text(clip.height) +
           ":r=" + text(clip.framesPerSecond) + ":d=" + text(seconds);
}

// Intro and outro have colours of their own, which one recognises at a glance.
std::string background(const Clip &clip)
{
    if (!clip.isEpisode) {
        return plain(clip, clip.colour, clip.seconds);
    }
    return plain(clip, "0x1f3f8f", IntroSeconds) + "[intro];" +
           plain(clip, clip.colour, clip.seconds - IntroSeconds - OutroSeconds) + "[story];" +
           plain(clip, "0x8f1f2f", OutroSeconds) + "[outro];[intro][story][outro]concat=n=3";
}

std::string mark(const char *label, const std::string &when)
{
    return std::string(",drawtext=font='") + TextFont + "':text='" + label +
           "':fontsize=h/8:fontcolor=white:x=(w-tw)/2:y=h*5/8:enable='" + when + "'";
}

std::string sectionMarks(const Clip &clip)
{
    if (!clip.isEpisode) {
        return {};
    }
    return mark("片头", "lt(t," + text(IntroSeconds) + ")") +
           mark("片尾", "gte(t," + text(clip.seconds - OutroSeconds) + ")");
}

// The whole second as cells that a program reads from a picture.
std::string timeCells()
{
    std::string filter = ",drawbox=x=iw*2/16:y=ih*13/16:w=iw*12/16:h=ih/16:c=black:t=fill";
    for (int cell = 0; cell < TimeCells; ++cell) {
        const int bit = 1 << (TimeCells - 1 - cell);
        filter += ",drawbox=x=iw*" + text(2 + cell) + "/16:y=ih*13/16:w=iw/16:h=ih/16:c=white" +
                  ":t=fill:enable='mod(floor(t/" + text(bit) + "),2)'";
    }
    return filter;
}

std::string picture(const Clip &clip, const fs::path &nameFile)
{
    return "format=yuv420p" + sectionMarks(clip) + ",drawtext=font='" + TextFont + "':textfile='" +
           nameFile.string() + "':expansion=none:fontsize=h/18:fontcolor=white:x=h/30:y=h/30" +
           ",drawtext=font='" + DigitFont +
           "':text='%{pts\\:hms}':fontsize=h/6:fontcolor=white:x=(w-tw)/2:y=h*3/8" + timeCells();
}

std::vector<std::string> tone(int hertz, int seconds)
{
    return {"-f", "lavfi", "-i",
            "sine=frequency=" + text(hertz) +
                ":beep_factor=4:sample_rate=44100:duration=" + text(seconds)};
}

void addLanguages(std::vector<std::string> &command, const Clip &clip, const fs::path &workFolder)
{
    const std::string name = fs::path(clip.path).stem();
    writeFile(workFolder / "chi.srt", subtitleText("内嵌中文字幕 " + name, clip.seconds));
    writeFile(workFolder / "eng.srt", subtitleText("Embedded English subtitle", clip.seconds));
    append(command, tone(660, clip.seconds));
    append(command, {"-i", workFolder / "chi.srt", "-i", workFolder / "eng.srt"});
    append(command, {"-map", "0:v", "-map", "1:a", "-map", "2:a", "-map", "3:s", "-map", "4:s"});
    append(command, {"-metadata:s:a:0", "language=jpn", "-metadata:s:a:1", "language=chi"});
    append(command, {"-metadata:s:s:0", "language=chi", "-metadata:s:s:1", "language=eng"});
    append(command, {"-c:s", "srt", "-disposition:s", "0"});
}

} // namespace

const std::vector<Clip> &sampleClips()
{
    static const std::vector<Clip> clips = {
        {"1/示例剧集/第01集 启程.mkv", 1920, 1080, 12, 62, "0x24503c", Tracks::Languages, true},
        {"1/示例剧集/第02集 远山.mkv", 1920, 1080, 12, 61, "0x4f4a22", Tracks::Languages, true},
        {"1/示例剧集/第03集 归途.mkv", 1920, 1080, 12, 60, "0x4b2a50", Tracks::Languages, true},
        {"1/电影/二十分钟长片.mp4", 960, 540, 4, 1200, "0x303a46"},
        {"1/4K 样片/4K 演示.mkv", 3840, 2160, 25, 4, "0x2a4a5f"},
        {"1/短片/两秒.mp4", 640, 360, 25, 2, "0x5a3a2a"},
        {"1/短片/三秒.mp4", 960, 540, 25, 3, "0x2a5a3a"},
        {"1/短片/四秒.mkv", 1280, 720, 25, 4, "0x3a2a5a"},
        {"1/短片/流畅度测试 720p30.mp4", 1280, 720, 30, 20, "0x3c3c3c"},
        {"1/各种名字/🎬 表情 “引号” 'single' \"double\".mp4", 640, 360, 25, 3, "0x5f5f20"},
        {"2/小明的短片.mp4", 640, 360, 25, 4, "0x205f5f"},
    };
    return clips;
}

std::string subtitleText(const std::string &label, int seconds)
{
    std::string srt;
    for (int begin = 0; begin < seconds; begin += CueSeconds) {
        const int number = begin / CueSeconds + 1;
        srt += text(number) + '\n' + clockText(begin) + ",000 --> " +
               clockText(begin + CueSeconds) + ",000\n" + label + ' ' + clockText(begin) + "\n\n";
    }
    return srt;
}

std::vector<std::string> clipCommand(const Clip &clip, const std::string &workFolder,
                                     const std::string &target)
{
    const fs::path nameFile = fs::path(workFolder) / "name.txt";
    writeFile(nameFile, fs::path(clip.path).stem().string());
    std::vector<std::string> command = {"ffmpeg", "-nostdin", "-v", "error", "-y", "-f", "lavfi"};
    append(command, {"-i", background(clip)});
    append(command, tone(440, clip.seconds));
    if (clip.tracks == Tracks::Languages) {
        addLanguages(command, clip, workFolder);
    } else {
        append(command, {"-map", "0:v", "-map", "1:a"});
    }
    append(command, {"-vf",
                     picture(clip, nameFile),
                     "-c:v",
                     "libx264",
                     "-preset",
                     "ultrafast",
                     "-crf",
                     "32",
                     "-g",
                     text(clip.framesPerSecond * KeyframeSeconds),
                     "-c:a",
                     "aac",
                     "-aac_coder",
                     "fast",
                     "-b:a",
                     "48k",
                     "-ac",
                     "1",
                     "-map_metadata",
                     "-1"});
    command.push_back(target);
    return command;
}

} // namespace localdrive
