#include "DemoData.h"

#include "Bucket.h"
#include "IsoCalendar.h"
#include "ModelContext.h"
#include "TaskCategory.h"
#include "TaskItem.h"

#include <QTime>

namespace DemoData {

namespace {

enum class DemoList { none, personal, work };

struct DemoTask {
    const char* title;
    const char* note;
    DemoList list;
    Bucket column;
    QTime reminder; // invalid: no reminder
};

} // namespace

void seedIfEmpty(ModelContext& context, const QDateTime& now) {
    // Only tasks count: a store with lists of its own but no task still gets the demo board.
    if (!context.tasks().isEmpty())
        return;

    const IsoCalendar calendar;
    auto* personal = new TaskCategory(QStringLiteral("个人"), QStringLiteral("46A758"), 1, now);
    auto* work = new TaskCategory(QStringLiteral("工作"), QStringLiteral("0090FF"), 2, now);
    context.insert(personal);
    context.insert(work);

    // sortIndex is the position in this table, counted from 1.
    const DemoTask table[] = {
        {"读一篇长文", "", DemoList::personal, Bucket::later, {}},
        {"规划 Q3 副业项目", "先把大致框架画出来", DemoList::work, Bucket::later, {}},
        {"买一份生日礼物", "", DemoList::personal, Bucket::later, {}},
        {"重构同步层", "", DemoList::work, Bucket::thisWeek, {}},
        {"预约牙医", "", DemoList::personal, Bucket::thisWeek, {}},
        {"15:00 和设计师过一遍新版方案", "", DemoList::work, Bucket::today, QTime(15, 0, 0)},
        {"写每周回顾", "复盘本周进展，列出下周最重要的三件事", DemoList::work, Bucket::today, {}},
        {"回复客户的合作邮件", "", DemoList::work, Bucket::today, {}},
        {"买菜做晚饭", "西红柿、鸡蛋、牛奶、面包", DemoList::personal, Bucket::today, {}},
        {"健身房练背", "", DemoList::personal, Bucket::today, QTime(19, 30, 0)},
        {"给爸妈打个电话", "", DemoList::none, Bucket::today, {}},
        {"发布落地页", "文案 + 主视觉图", DemoList::work, Bucket::today, {}},
        {"晨练", "", DemoList::none, Bucket::done, {}},
    };

    QList<TaskItem*> tasks;
    qint64 sortIndex = 0;
    for (const DemoTask& row : table) {
        auto* task = new TaskItem(QString::fromUtf8(row.title), ++sortIndex, now);
        task->setNote(QString::fromUtf8(row.note));
        task->setCategory(row.list == DemoList::personal ? personal
                          : row.list == DemoList::work   ? work
                                                         : nullptr);
        task->move(row.column, now, calendar);
        if (row.reminder.isValid())
            task->setReminderAt(calendar.atTime(now, row.reminder));
        tasks.append(task);
    }
    for (TaskItem* task : std::as_const(tasks))
        context.insert(task);

    // A demo store that cannot be written is no reason to stop the demo.
    (void)context.save();
}

} // namespace DemoData
