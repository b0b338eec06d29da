#pragma once

#include "ModelContext.h"

#include <memory>

// An opened store: its file and its main context.
class ModelContainer {
public:
    explicit ModelContainer(std::unique_ptr<ModelContext> mainContext)
        : m_mainContext(std::move(mainContext)) {}

    [[nodiscard]] ModelContext& mainContext() const { return *m_mainContext; }
    [[nodiscard]] QString path() const { return m_mainContext->path(); }

private:
    std::unique_ptr<ModelContext> m_mainContext;
};
