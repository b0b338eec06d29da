#include "TodayOpenCount.h"

#include "ModelContext.h"
#include "TaskClassifier.h"
#include "TaskItem.h"

int todayOpenCount(const ModelContext& context, const QDateTime& now) {
    const TaskClassifier::Moment moment(now, TaskClassifier::calendar());
    int count = 0;
    for (const TaskItem* task : context.tasks()) {
        if (TaskClassifier::bucket(*task, moment) == Bucket::today)
            ++count;
    }
    return count;
}
