#pragma once

#include <memory>

#include <QSharedDataPointer>
#include <QString>

class DQModel;
class DQSharedListPriv;

// A list of records of any model, shared by its copies until one of them changes. The records
// inside do not change any more. DQList<T> is the typed view.
class DQSharedList
{
public:
    DQSharedList();
    DQSharedList(const DQSharedList &);
    DQSharedList &operator=(const DQSharedList &);
    ~DQSharedList();

    [[nodiscard]] int size() const;
    [[nodiscard]] bool isEmpty() const { return size() == 0; }
    [[nodiscard]] bool contains(int index) const { return index >= 0 && index < size(); }
    void clear();

    // When there is no such record, a warning is logged and one of no model stands in for it.
    [[nodiscard]] const DQModel &record(int index) const;

    // A record of its own with the same values.
    [[nodiscard]] std::shared_ptr<DQModel> copyOf(int index) const;

    void append(std::shared_ptr<const DQModel> record);

protected:
    static void warnCanNotConvert(const DQModel &record, const QString &wanted);

private:
    QSharedDataPointer<DQSharedListPriv> d;
};
