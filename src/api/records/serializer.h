#pragma once

#include <vector>

#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QMetaProperty>
#include <QString>

// Base of every record that crosses the wire or the settings file as a JSON object. A record maps
// its fields one to one onto JSON keys of the same name through its meta-object:
//
//     class FileTrashReq final : public QSerializer
//     {
//         Q_GADGET
//         SERIALIZABLE
//         FIELD(QString, drive_id)
//         FIELD(QString, file_id)
//     };
//
// Every field starts empty (empty text, 0, false, empty list, default record). A field's type may
// be a plain value (QString, int, qint64, bool, double, QDateTime), a record, or a QList of either.
// Records are plain values.
class QSerializer
{
    Q_GADGET

public:
    QSerializer() = default;
    QSerializer(const QSerializer &) = default;
    QSerializer(QSerializer &&) = default;
    QSerializer &operator=(const QSerializer &) = default;
    QSerializer &operator=(QSerializer &&) = default;
    virtual ~QSerializer() = default;

    virtual const QMetaObject *metaObject() const { return &staticMetaObject; }

    // Every field under its key, empty ones included.
    QJsonObject toJson() const;

    // Fills the fields whose keys the object holds; keys without a field are ignored and fields
    // without a key keep what they hold. A value that is not an object changes nothing.
    //
    // Types are converted, not checked: a number fills a text with its digits, a text fills a
    // number with its value or 0, null empties a plain field, and so does what does not convert. A
    // list field appends one element per array element; a nested record is filled only by an
    // object. Anything else, null too, leaves these two as they are.
    void fromJson(const QJsonValue &value);

protected:
    // The JSON properties of one record class, in declaration order.
    class PropertyTable
    {
    public:
        explicit PropertyTable(const QMetaObject &metaObject);

    private:
        friend class QSerializer;

        struct Entry
        {
            QString key;
            int index;
        };

        const QMetaObject *m_metaObject;
        std::vector<Entry> m_entries;
    };

    virtual const PropertyTable &propertyTable() const;
};

// The conversions between a field's member and its JSON value.
namespace field_conversion {

QJsonValue plainToJson(const QVariant &value);
QVariant jsonToPlain(const QJsonValue &value, int metaTypeId);

template <class T>
constexpr bool IsRecord = std::is_base_of_v<QSerializer, T>;

template <class T>
QJsonValue toJson(const T &member)
{
    if constexpr (IsRecord<T>) {
        return member.toJson();
    } else if constexpr (std::is_same_v<T, QString> || std::is_same_v<T, bool>) {
        return QJsonValue(member);
    } else {
        return plainToJson(QVariant::fromValue(member));
    }
}

template <class T>
QJsonValue toJson(const QList<T> &members)
{
    QJsonArray array;
    for (const T &member : members) {
        array.append(toJson(member));
    }
    return array;
}

template <class T>
void fromJson(const QJsonValue &value, T &member)
{
    if constexpr (IsRecord<T>) {
        member.fromJson(value);
    } else {
        if constexpr (std::is_same_v<T, QString>) {
            if (value.isString()) {
                member = value.toString();
                return;
            }
        }
        member = jsonToPlain(value, qMetaTypeId<T>()).template value<T>();
    }
}

template <class T>
void fromJson(const QJsonValue &value, QList<T> &members)
{
    const QJsonArray array = value.toArray();
    members.reserve(members.size() + array.size());
    for (const QJsonValue element : array) {
        T member{};
        fromJson(element, member);
        members.append(std::move(member));
    }
}

} // namespace field_conversion

// Gives a record class its meta-object and its property table, which is worked out once.
#define SERIALIZABLE                                                                               \
public:                                                                                            \
    const QMetaObject *metaObject() const override                                                 \
    {                                                                                              \
        return &staticMetaObject;                                                                  \
    }                                                                                              \
                                                                                                   \
protected:                                                                                         \
    const PropertyTable &propertyTable() const override                                            \
    {                                                                                              \
        static const PropertyTable table(staticMetaObject);                                        \
        return table;                                                                              \
    }

// One field of a record: a public member and the JSON property of the same name.
#define FIELD(Type, name)                                                                          \
    Q_PROPERTY(QJsonValue name READ name##ToJson WRITE name##FromJson)                             \
public:                                                                                            \
    Type name{};                                                                                   \
                                                                                                   \
private:                                                                                           \
    QJsonValue name##ToJson() const                                                                \
    {                                                                                              \
        return field_conversion::toJson(name);                                                     \
    }                                                                                              \
    void name##FromJson(const QJsonValue &json)                                                    \
    {                                                                                              \
        field_conversion::fromJson(json, name);                                                    \
    }

// The record as a compact JSON object.
QString recordToText(const QSerializer &record);

// The JSON object in the text, or an empty value when the text holds none.
QJsonValue objectFromText(const QString &jsonText);

// A record filled from the text; a text that is not a JSON object gives a fresh record.
template <class Record>
Record recordFromText(const QString &jsonText)
{
    Record record;
    record.fromJson(objectFromText(jsonText));
    return record;
}
