#include "localdrive/media/media_store.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <utility>

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "localdrive/media/ffmpeg_commands.h"
#include "localdrive/wire/crypto.h"

namespace fs = std::filesystem;

namespace localdrive {
namespace {

constexpr Quality Qualities[] = {
    {"LD", "流畅 360p", 360},      {"SD", "标清 540p", 540},    {"HD", "高清 720p", 720},
    {"FHD", "全高清 1080p", 1080}, {"QHD", "超清 1440p", 1440},
};

// The folder and the job of the tracks of text.
constexpr Quality Texts = {"TEXTS", "", 0};

int evenWidth(const MediaInfo &info, int height)
{
    return static_cast<int>(std::int64_t{info.width} * height / info.height + 1) / 2 * 2;
}

UniqueFd duplicate(int file)
{
    return UniqueFd(::fcntl(file, F_DUPFD_CLOEXEC, 3));
}

// Makes a folder that only this process uses, beside where its content will go.
fs::path draftOf(const fs::path &target)
{
    fs::path draft = target;
    draft += ".draft-" + randomHex(6);
    fs::create_directories(draft);
    return draft;
}

// What an earlier run was making when it was ended. Another server may share the folder, so
// drafts that may still grow stay.
void removeOldDrafts(const std::string &folder)
{
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(1);
    std::error_code error;
    for (const fs::directory_entry &media : fs::directory_iterator(folder, error)) {
        for (const fs::directory_entry &entry : fs::directory_iterator(media.path(), error)) {
            const bool isDraft =
                entry.path().filename().string().find(".draft-") != std::string::npos;
            if (isDraft && entry.last_write_time(error) < old) {
                fs::remove_all(entry.path(), error);
            }
        }
    }
}

} // namespace

MediaStore::MediaStore(std::string folder) : m_folder(std::move(folder))
{
    removeOldDrafts(m_folder);
    m_worker = std::thread([this] { work(); });
}

MediaStore::~MediaStore()
{
    stop();
}

void MediaStore::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopped = true;
    }
    m_processes.stop();
    m_changed.notify_all();
    if (m_worker.joinable()) {
        m_worker.join();
    }
}

std::string MediaStore::keyOf(int file)
{
    constexpr std::int64_t Samples = 8;
    std::array<char, 8192> piece{};
    struct stat status
    {
    };
    ::fstat(file, &status);
    std::string content = std::to_string(status.st_size) + '\n';
    const std::int64_t step = std::max<std::int64_t>(status.st_size / Samples, piece.size());
    for (std::int64_t offset = 0; offset < status.st_size; offset += step) {
        const ssize_t count = ::pread(file, piece.data(), piece.size(), offset);
        content.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return sha256Hex(content).substr(0, 32);
}

std::string MediaStore::streamFile(const std::string &key, const std::string &quality,
                                   const std::string &name) const
{
    return m_folder + '/' + key + '/' + quality + '/' + name;
}

bool MediaStore::isMade(const std::string &key, const Quality &quality) const
{
    return fs::exists(&quality == &Texts ? textFile(key, 0)
                                         : streamFile(key, quality.id, StreamIndexName));
}

std::string MediaStore::textFile(const std::string &key, std::size_t track) const
{
    return streamFile(key, Texts.id, textFileName(track));
}

std::optional<MediaInfo> MediaStore::knownInfo(const std::string &key)
{
    const std::lock_guard lock(m_mutex);
    const auto known = m_infos.find(key);
    if (known != m_infos.end()) {
        return known->second;
    }
    std::ifstream file(m_folder + '/' + key + "/info.json");
    const nlohmann::json stored = nlohmann::json::parse(file, nullptr, false);
    if (!stored.is_object() || !stored.contains("texts")) {
        return std::nullopt;
    }
    MediaInfo info;
    for (const nlohmann::json &text : stored["texts"]) {
        info.texts.push_back({text.value("number", 0), text.value("language", "")});
    }
    info.duration = stored.value("duration", 0.0);
    info.width = stored.value("width", 0);
    info.height = stored.value("height", 0);
    info.videoCodec = stored.value("video", "");
    info.audioCodec = stored.value("audio", "");
    m_infos[key] = info;
    return info;
}

void MediaStore::remember(const std::string &key, const MediaInfo &info)
{
    nlohmann::json texts = nlohmann::json::array();
    for (const TextTrack &text : info.texts) {
        texts.push_back({{"number", text.number}, {"language", text.language}});
    }
    const nlohmann::json stored = {{"duration", info.duration}, {"width", info.width},
                                   {"height", info.height},     {"video", info.videoCodec},
                                   {"audio", info.audioCodec},  {"texts", texts}};
    const fs::path folder = fs::path(m_folder) / key;
    fs::create_directories(folder);
    const fs::path draft = folder / ("info.json.draft-" + randomHex(6));
    std::ofstream(draft) << stored.dump() << '\n';
    fs::rename(draft, folder / "info.json");
}

std::optional<MediaInfo> MediaStore::measure(int file)
{
    const Processes::Result result = m_processes.run(probeCommand(), file);
    return result.exitCode == 0 ? readProbe(result.output) : std::nullopt;
}

std::optional<MediaInfo> MediaStore::info(int file)
{
    const std::string key = keyOf(file);
    if (std::optional<MediaInfo> known = knownInfo(key)) {
        return known;
    }
    {
        const std::lock_guard lock(m_mutex);
        if (m_infos.count(key) != 0) {
            return std::nullopt; // measured in vain before
        }
    }
    const std::optional<MediaInfo> info = measure(file);
    if (info) {
        remember(key, *info);
    }
    const std::lock_guard lock(m_mutex);
    if (!m_stopped) {
        m_infos[key] = info;
    }
    return info;
}

StreamState MediaStore::stateOf(const std::string &key, const Quality &quality) const
{
    const bool isFailed = m_failed.count({key, &quality}) != 0;
    return isMade(key, quality) ? StreamState::Finished
           : isFailed           ? StreamState::Failed
                                : StreamState::Running;
}

StreamState MediaStore::textState(const std::string &key)
{
    const std::lock_guard lock(m_mutex);
    return stateOf(key, Texts);
}

std::vector<Stream> MediaStore::offered(const std::string &key, const MediaInfo &info)
{
    std::vector<Stream> streams;
    const std::lock_guard lock(m_mutex);
    for (const Quality &quality : Qualities) {
        if (quality.height > info.height) {
            break;
        }
        streams.push_back({&quality, evenWidth(info, quality.height), stateOf(key, quality)});
    }
    return streams;
}

void MediaStore::enqueue(Job job, bool urgent)
{
    const std::lock_guard lock(m_mutex);
    if (!m_pending.insert({job.key, job.quality}).second) {
        return;
    }
    if (urgent) {
        m_jobs.push_front(std::move(job));
    } else {
        m_jobs.push_back(std::move(job));
    }
    m_changed.notify_all();
}

void MediaStore::learnLater(UniqueFd file)
{
    std::string key = keyOf(file.get());
    enqueue({std::move(key), nullptr, std::move(file)}, true);
}

std::vector<Stream> MediaStore::streams(int file)
{
    const std::optional<MediaInfo> measured = info(file);
    if (!measured) {
        return {};
    }
    const std::string key = keyOf(file);
    std::vector<Stream> list = offered(key, *measured);
    // The stream that is only repacked comes first: it is ready in no time.
    std::vector<const Quality *> missing;
    for (const Stream &stream : list) {
        if (stream.state == StreamState::Running) {
            missing.push_back(stream.quality);
        }
    }
    std::stable_partition(missing.begin(), missing.end(), [&measured](const Quality *quality) {
        return canRepack(*measured, *quality);
    });
    if (!measured->texts.empty() && textState(key) == StreamState::Running) {
        missing.insert(missing.begin(), &Texts); // small, and wanted with the first stream
    }
    for (const Quality *quality : missing) {
        enqueue({key, quality, duplicate(file)}, false);
    }
    return list;
}

std::vector<Stream> MediaStore::makeStreams(int file)
{
    const std::string key = keyOf(file);
    streams(file);
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this, &key] {
            return m_stopped ||
                   std::none_of(m_pending.begin(), m_pending.end(),
                                [&key](const JobName &job) { return job.first == key; });
        });
    }
    return streams(file);
}

void MediaStore::work()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_stopped || !m_jobs.empty(); });
        if (m_stopped) {
            return;
        }
        const Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        const std::optional<MediaInfo> measured = info(job.file.get());
        const bool ok = !job.quality || isMade(job.key, *job.quality) ||
                        (measured && make(job.file.get(), job.key, *measured, *job.quality));
        lock.lock();
        m_pending.erase({job.key, job.quality});
        if (!ok && !m_stopped) {
            m_failed.insert({job.key, job.quality});
        }
        m_changed.notify_all();
    }
}

bool MediaStore::make(int file, const std::string &key, const MediaInfo &info,
                      const Quality &quality)
{
    const fs::path target = fs::path(m_folder) / key / quality.id;
    const fs::path draft = draftOf(target);
    const std::vector<std::string> command =
        &quality == &Texts ? textCommand(info, draft)
                           : streamCommand(info, quality, evenWidth(info, quality.height), draft);
    const bool isMadeNow = m_processes.run(command, file).exitCode == 0;
    std::error_code error;
    if (isMadeNow) {
        fs::rename(draft, target, error);
    }
    if (!isMadeNow || error) {
        fs::remove_all(draft);
    }
    return isMadeNow && isMade(key, quality);
}

std::string MediaStore::thumbnail(int file)
{
    const std::string key = keyOf(file);
    const fs::path picture = fs::path(m_folder) / key / "thumbnail.jpg";
    const std::optional<MediaInfo> measured = info(file);
    const std::lock_guard lock(m_thumbnailMutex);
    if (!measured || fs::exists(picture)) {
        return measured ? picture.string() : std::string();
    }
    const fs::path draft = draftOf(picture);
    const fs::path drawn = draft / "thumbnail.jpg";
    const bool isDrawn = m_processes.run(thumbnailCommand(*measured, drawn), file).exitCode == 0 &&
                         fs::exists(drawn);
    if (isDrawn) {
        fs::rename(drawn, picture);
    }
    fs::remove_all(draft);
    return isDrawn ? picture.string() : std::string();
}

} // namespace localdrive
