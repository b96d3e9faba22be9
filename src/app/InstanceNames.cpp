#include "app/InstanceNames.h"

#include "common/Paths.h"

namespace {

WideString replaced(WideView text, WideView forbidden) {
    WideString out(text);
    for (WCHAR& unit : out)
        if (unit < 32 || forbidden.find(unit) != WideView::npos) unit = TEXT('_');
    return out;
}

}  // namespace

WideString instanceFolder(WideView instanceName) {
    return replaced(instanceName, kNotInNames);
}

WideString instanceSuffix(WideView instanceName) {
    if (instanceName.empty()) return {};
    return TEXT(".") + replaced(instanceName, TEXT("\\/"));
}
