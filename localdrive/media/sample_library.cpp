#include "localdrive/media/sample_library.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "localdrive/disk/file_kinds.h"
#include "localdrive/disk/folder_tree.h"
#include "localdrive/media/media_store.h"
#include "localdrive/media/process.h"
#include "localdrive/media/sample_clips.h"

namespace fs = std::filesystem;

namespace localdrive {
namespace {

// Raised when the library's content changes, so that old ones are completed.
constexpr char Version[] = "1";
constexpr int SmallFileCount = 1050;
constexpr std::int64_t FirstTime = 1704067200; // 2024-01-01; files are a minute apart.

struct TextFile
{
    const char *path;
    const char *content;
};

const TextFile TextFiles[] = {
    {"1/说明.txt", "这是示例云盘。这里的一切都由程序自己生成，可以随意改名、移动和删除。\n"},
    {"1/各种名字/name with spaces & 100% #1 ?.txt", "spaces\n"},
    {"1/各种名字/-leading dash.txt", "dash\n"},
    {"1/各种名字/反斜杠\\与冒号:.txt", "backslash\n"},
    {"1/各种名字/👨‍👩‍👧‍👦🌏.txt", "emoji\n"},
    {"1/各种名字/没有扩展名", "no extension\n"},
    {"1/各种名字/.隐藏文件", "hidden\n"},
    {"1/各种名字/<b>标签</b>&amp;.txt", "markup\n"},
    {"2/笔记.txt", "小明的笔记\n"},
    {"2/文档/计划.md", "# 计划\n"},
};

constexpr char ForeignScript[] = R"([Script Info]
ScriptType: v4.00+
PlayResX: 1280
PlayResY: 720

[V4+ Styles]
Format: Name, Fontname, Fontsize, PrimaryColour, Bold, Alignment, MarginL, MarginR, MarginV
Style: Default,Noto Sans CJK SC,48,&H0000FFFF,1,8,10,10,60

[Events]
Format: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text
Dialogue: 0,0:00:00.00,0:10:00.00,Default,,0,0,0,,花絮字幕（不属于任何一集）
)";

std::string veryLongName()
{
    std::string name;
    for (int i = 0; i < 27; ++i) {
        name += "很长的"; // 9 bytes each; a file name holds 255
    }
    return name + ".txt";
}

class Library final
{
public:
    Library(fs::path folder, const std::function<void(const std::string &)> &progress)
        : m_folder(std::move(folder)), m_progress(progress)
    {
    }

    void make()
    {
        if (isComplete()) {
            return;
        }
        fs::remove_all(draftFolder());
        fs::create_directories(draftFolder());
        makeTexts();
        makeClips();
        makePictureAndSound();
        makeMedia();
        setTimes();
        fs::remove_all(draftFolder());
        std::ofstream(draftStamp()) << Version << '\n';
        fs::rename(draftStamp(), stamp());
    }

private:
    [[nodiscard]] fs::path stamp() const { return m_folder / "complete"; }
    [[nodiscard]] fs::path draftStamp() const { return m_folder / "complete.draft"; }
    [[nodiscard]] fs::path draftFolder() const { return m_folder / "drafts"; }
    [[nodiscard]] fs::path drives() const { return m_folder / "drives"; }

    [[nodiscard]] bool isComplete() const
    {
        std::string version;
        std::ifstream(stamp()) >> version;
        return version == Version;
    }

    // Moves a finished draft to its place below "drives/".
    void place(const fs::path &draft, const fs::path &path) const
    {
        fs::create_directories((drives() / path).parent_path());
        fs::rename(draft, drives() / path);
    }

    void makeText(const fs::path &path, const std::string &content) const
    {
        if (fs::exists(drives() / path)) {
            return;
        }
        const fs::path draft = draftFolder() / "text";
        std::ofstream stream(draft, std::ios::binary);
        stream << content;
        stream.close();
        if (!stream) {
            throw std::runtime_error("cannot write " + draft.string());
        }
        place(draft, path);
    }

    void makeTexts() const
    {
        m_progress("小文件");
        for (const TextFile &file : TextFiles) {
            makeText(file.path, file.content);
        }
        makeText("1/各种名字/" + veryLongName(), "long\n");
        makeText("1/示例剧集/第01集 启程.srt", subtitleText("外挂字幕", 62));
        makeText("1/示例剧集/花絮.ass", ForeignScript);
        for (int number = 1; number <= SmallFileCount; ++number) {
            std::array<char, 64> name{};
            std::snprintf(name.data(), name.size(), "1/一千零五十个文件/文件 %04d.txt", number);
            makeText(name.data(), std::to_string(number) + '\n');
        }
        fs::create_directories(drives() / "1" / "空文件夹");
        fs::create_directories(drives() / "3");
    }

    void run(const std::vector<std::string> &command, const fs::path &draft, const fs::path &path)
    {
        if (m_processes.run(command).exitCode != 0 || !fs::exists(draft)) {
            throw std::runtime_error("ffmpeg could not make " + path.string());
        }
        place(draft, path);
    }

    void makeClips()
    {
        for (const Clip &clip : sampleClips()) {
            const fs::path path = clip.path;
            if (fs::exists(drives() / path)) {
                continue;
            }
            m_progress(path.filename());
            const fs::path draft = draftFolder() / ("clip" + path.extension().string());
            run(clipCommand(clip, draftFolder(), draft), draft, path);
        }
    }

    void makePictureAndSound()
    {
        const fs::path picture = "1/图片/渐变.png";
        const fs::path sound = "1/音乐/提示音.m4a";
        const std::vector<std::string> ffmpeg = {"ffmpeg", "-nostdin", "-v",    "error",
                                                 "-y",     "-f",       "lavfi", "-i"};
        const auto makeOne = [&](const fs::path &path, const std::string &source,
                                 const std::vector<std::string> &options) {
            if (fs::exists(drives() / path)) {
                return;
            }
            const fs::path draft = draftFolder() / ("one" + path.extension().string());
            std::vector<std::string> command = ffmpeg;
            command.push_back(source);
            command.insert(command.end(), options.begin(), options.end());
            command.push_back(draft);
            run(command, draft, path);
        };
        makeOne(picture, "gradients=s=640x360:seed=7:d=1", {"-frames:v", "1"});
        makeOne(sound, "sine=frequency=523:duration=5", {"-c:a", "aac"});
    }

    void makeMedia()
    {
        MediaStore media(m_folder / "media");
        for (const fs::directory_entry &root : fs::directory_iterator(drives())) {
            const FolderTree tree(root.path());
            tree.walk([&](const Node &node) {
                const std::string category = categoryOf(contentTypeOf(node.name()));
                if (node.isFolder || (category != "video" && category != "image")) {
                    return;
                }
                m_progress("转码 " + node.name());
                const UniqueFd file = tree.openFile(node.path);
                if (category == "video") {
                    makeStreams(media, file, node.name());
                }
                if (media.thumbnail(file.get()).empty()) {
                    throw std::runtime_error("no thumbnail of " + node.name());
                }
            });
        }
    }

    static void makeStreams(MediaStore &media, const UniqueFd &file, const std::string &name)
    {
        for (const Stream &stream : media.makeStreams(file.get())) {
            if (stream.state != StreamState::Finished) {
                throw std::runtime_error("ffmpeg could not transcode " + name);
            }
        }
    }

    // The same times in every library, so that orders by time can be told beforehand.
    void setTimes() const
    {
        std::vector<fs::path> paths;
        for (const fs::directory_entry &entry : fs::recursive_directory_iterator(drives())) {
            paths.push_back(entry.path());
        }
        std::sort(paths.begin(), paths.end(), std::greater<>());
        std::int64_t time = FirstTime;
        for (const fs::path &path : paths) {
            const std::array<timespec, 2> times{timespec{time, 0}, timespec{time, 0}};
            ::utimensat(AT_FDCWD, path.c_str(), times.data(), 0);
            time += 60;
        }
    }

    fs::path m_folder;
    const std::function<void(const std::string &)> &m_progress;
    Processes m_processes;
};

} // namespace

void makeSampleLibrary(const std::string &folder,
                       const std::function<void(const std::string &)> &progress)
{
    fs::create_directories(folder);
    const UniqueFd lock(::open((folder + "/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (!lock.isValid() || ::flock(lock.get(), LOCK_EX) != 0) {
        throw std::system_error(errno, std::generic_category(), folder);
    }
    Library(fs::absolute(folder), progress).make();
}

} // namespace localdrive
