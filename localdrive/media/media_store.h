#pragma once

#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "localdrive/disk/unique_fd.h"
#include "localdrive/media/process.h"

namespace localdrive {

// A subtitle track that is text; those made of pictures are left out.
struct TextTrack
{
    int number = 0; // Among all subtitle tracks of the file.
    std::string language;
};

// What a file says about its video.
struct MediaInfo
{
    double duration = 0; // Seconds.
    int width = 0;
    int height = 0;
    std::string videoCodec;
    std::string audioCodec; // Of the first sound track; empty: none.
    std::vector<TextTrack> texts;
};

// A quality that the platform transcodes to.
struct Quality
{
    const char *id;
    const char *name;
    int height;
};

enum class StreamState { Finished, Running, Failed };

struct Stream
{
    const Quality *quality = nullptr;
    int width = 0;
    StreamState state = StreamState::Running;
};

// Streams, thumbnails and measures of media files, made by ffmpeg and kept on disk. Files are
// known by their content, so that renamed and copied ones share what was made. A stream appears
// whole or not at all. Nothing but the file itself is opened by ffmpeg. Thread-safe.
class MediaStore final
{
public:
    explicit MediaStore(std::string folder);
    ~MediaStore();
    MediaStore(const MediaStore &) = delete;
    MediaStore &operator=(const MediaStore &) = delete;
    MediaStore(MediaStore &&) = delete;
    MediaStore &operator=(MediaStore &&) = delete;

    // Ends what is being made and makes nothing any more.
    void stop();

    // Name of a file's content.
    [[nodiscard]] static std::string keyOf(int file);
    // Measures the file when it is not known yet; nothing: there is no video in it.
    std::optional<MediaInfo> info(int file);
    // What was measured before.
    std::optional<MediaInfo> knownInfo(const std::string &key);
    // Measures in the background.
    void learnLater(UniqueFd file);

    // One entry for each quality that is not above the source, lowest first. What is missing
    // begins to be made.
    std::vector<Stream> streams(int file);
    // The same, but waits until everything is made.
    std::vector<Stream> makeStreams(int file);
    // Whether the tracks of text have been made into files, which streams() asks for.
    StreamState textState(const std::string &key);
    // Path of a picture; empty: none can be made.
    std::string thumbnail(int file);

    // Path of a track of text in WebVTT, by its place among `texts`.
    [[nodiscard]] std::string textFile(const std::string &key, std::size_t track) const;
    // Path of a part of a finished stream.
    [[nodiscard]] std::string streamFile(const std::string &key, const std::string &quality,
                                         const std::string &name) const;

private:
    struct Job
    {
        std::string key;
        const Quality *quality; // Null: only measure. The texts go by one of their own.
        UniqueFd file;
    };
    using JobName = std::pair<std::string, const Quality *>;

    void work();
    void enqueue(Job job, bool urgent);
    bool make(int file, const std::string &key, const MediaInfo &info, const Quality &quality);
    std::optional<MediaInfo> measure(int file);
    void remember(const std::string &key, const MediaInfo &info);
    [[nodiscard]] bool isMade(const std::string &key, const Quality &quality) const;
    [[nodiscard]] StreamState stateOf(const std::string &key, const Quality &quality) const;
    [[nodiscard]] std::vector<Stream> offered(const std::string &key, const MediaInfo &info);

    const std::string m_folder;
    Processes m_processes;
    std::mutex m_thumbnailMutex; // One picture at a time.
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<std::string, std::optional<MediaInfo>> m_infos;
    std::deque<Job> m_jobs;
    std::set<JobName> m_pending; // Waiting or being made.
    std::set<JobName> m_failed;
    bool m_stopped = false;
    std::thread m_worker;
};

} // namespace localdrive
