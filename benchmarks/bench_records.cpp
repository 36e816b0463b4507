#include <QJsonDocument>

#include "api/records/file_records.h"
#include "figures.h"

namespace {

constexpr int ItemCount = 200;

// The fields of FileItem as a program without records would hold them.
struct PlainItem
{
    QString texts[33];
    bool starred = false;
    int punishFlag = 0;
    QString videoTexts[4];
    int height = 0;
    int width = 0;
};

const QLatin1String TextKeys[] = {
    QLatin1String("trashed"),
    QLatin1String("name"),
    QLatin1String("thumbnail"),
    QLatin1String("type"),
    QLatin1String("category"),
    QLatin1String("hidden"),
    QLatin1String("status"),
    QLatin1String("description"),
    QLatin1String("meta"),
    QLatin1String("url"),
    QLatin1String("size"),
    QLatin1String("location"),
    QLatin1String("deleted"),
    QLatin1String("channel"),
    QLatin1String("user_tags"),
    QLatin1String("mime_type"),
    QLatin1String("parent_file_id"),
    QLatin1String("drive_id"),
    QLatin1String("file_id"),
    QLatin1String("file_extension"),
    QLatin1String("revision_id"),
    QLatin1String("content_hash"),
    QLatin1String("content_hash_name"),
    QLatin1String("encrypt_mode"),
    QLatin1String("domain_id"),
    QLatin1String("download_url"),
    QLatin1String("user_meta"),
    QLatin1String("content_type"),
    QLatin1String("created_at"),
    QLatin1String("updated_at"),
    QLatin1String("local_created_at"),
    QLatin1String("local_modified_at"),
    QLatin1String("trashed_at"),
};

const QLatin1String VideoTextKeys[] = {QLatin1String("duration"), QLatin1String("time"),
                                       QLatin1String("videoMediaAudioStream"),
                                       QLatin1String("videoMediaVideoStream")};

PlainItem readByHand(const QJsonObject &object)
{
    PlainItem item;
    int index = 0;
    for (const QLatin1String key : TextKeys) {
        item.texts[index++] = object.value(key).toString();
    }
    item.starred = object.value(QLatin1String("starred")).toBool();
    item.punishFlag = object.value(QLatin1String("punish_flag")).toInt();
    const QJsonObject video = object.value(QLatin1String("video_media_metadata")).toObject();
    index = 0;
    for (const QLatin1String key : VideoTextKeys) {
        item.videoTexts[index++] = video.value(key).toString();
    }
    item.height = video.value(QLatin1String("height")).toInt();
    item.width = video.value(QLatin1String("width")).toInt();
    return item;
}

QJsonObject writeByHand(const PlainItem &item)
{
    QJsonObject video;
    int index = 0;
    for (const QLatin1String key : VideoTextKeys) {
        video.insert(key, item.videoTexts[index++]);
    }
    video.insert(QLatin1String("height"), item.height);
    video.insert(QLatin1String("width"), item.width);
    QJsonObject object;
    index = 0;
    for (const QLatin1String key : TextKeys) {
        object.insert(key, item.texts[index++]);
    }
    object.insert(QLatin1String("starred"), item.starred);
    object.insert(QLatin1String("punish_flag"), item.punishFlag);
    object.insert(QLatin1String("video_media_metadata"), video);
    return object;
}

QString pageText()
{
    PlainItem item;
    int index = 0;
    for (const QLatin1String key : TextKeys) {
        item.texts[index++] = QStringLiteral("%1 的值 https://127.0.0.1/").arg(key);
    }
    item.punishFlag = 1;
    item.videoTexts[0] = QStringLiteral("1425.5");
    item.height = 1080;
    QJsonArray items;
    for (int i = 0; i < ItemCount; ++i) {
        items.append(writeByHand(item));
    }
    const QJsonObject page{{QStringLiteral("items"), items},
                           {QStringLiteral("next_marker"), QStringLiteral("marker")}};
    return QString::fromUtf8(QJsonDocument(page).toJson(QJsonDocument::Compact));
}

QVector<PlainItem> pageByHand(const QString &text)
{
    const QJsonObject page = QJsonDocument::fromJson(text.toUtf8()).object();
    const QJsonArray array = page.value(QLatin1String("items")).toArray();
    QVector<PlainItem> items;
    items.reserve(array.size());
    for (const QJsonValue element : array) {
        items.append(readByHand(element.toObject()));
    }
    return items;
}

} // namespace

int main(int argc, char **argv)
{
    const QString text = pageText();
    const auto records = recordFromText<FileItems>(text);
    const QVector<PlainItem> plainItems = pageByHand(text);
    if (records.items.size() != ItemCount || records.items.first().trashed_at.isEmpty() ||
        records.items.first().video_media_metadata.height != 1080) {
        return 2;
    }

    const Figure fill{"records: fill a page of 200 items from its text",
                      "s",
                      2.0,
                      [&] { return secondsOf([&] { recordFromText<FileItems>(text); }); },
                      [&] { return secondsOf([&] { pageByHand(text); }); },
                      31};
    const Figure write{"records: write the same page",
                       "s",
                       2.0,
                       [&] { return secondsOf([&] { records.toJson(); }); },
                       [&] {
                           return secondsOf([&] {
                               QJsonArray array;
                               for (const PlainItem &item : plainItems) {
                                   array.append(writeByHand(item));
                               }
                               QJsonObject page;
                               page.insert(QLatin1String("items"), array);
                               page.insert(QLatin1String("next_marker"), QStringLiteral("marker"));
                           });
                       },
                       31};
    return runFigures(argc, argv, {fill, write});
}
