#include "AIError.h"

QString AIError::errorDescription() const {
    switch (kind) {
    case Kind::ApiError:
        return QStringLiteral("接口错误：") + detail;
    case Kind::NetworkError:
        return QStringLiteral("网络错误：") + detail;
    case Kind::NoApiKey:
        return QStringLiteral("未设置 API Key，请在设置中填写。");
    case Kind::InvalidResponse:
        return QStringLiteral("无法解析 AI 返回结果，请重试。");
    case Kind::UndecodableReply:
        return detail;
    }
    return {};
}
