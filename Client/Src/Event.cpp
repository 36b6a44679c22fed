#include "Event.h"

#include "TTMLCallback.h"

namespace TTMLClient {

const char* EventName(int code)
{
    switch (code) {
    case TTML::CALLBACK_DATA:
        return "data";
    case TTML::CALLBACK_STARTED:
        return "started";
    case TTML::CALLBACK_STOPPED:
        return "stopped";
    case TTML::CALLBACK_PAUSED:
        return "paused";
    case TTML::CALLBACK_RESUMED:
        return "resumed";
    case TTML::CALLBACK_INVALIDATED:
        return "invalidated";
    case TTML::CALLBACK_SEEK_STARTED:
        return "seek_started";
    case TTML::CALLBACK_SEEK_COMPLETED:
        return "seek_completed";
    case TTML::CALLBACK_REGISTER_MENU:
        return "register_menu";
    case TTML::CALLBACK_UNREGISTER_MENU:
        return "unregister_menu";
    case TTML::CALLBACK_SET_MENU_LANG:
        return "set_menu_lang";
    case TTML::CALLBACK_SHOW:
        return "show";
    case TTML::CALLBACK_HIDE:
        return "hide";
    case TTML::CALLBACK_FONTS_ERROR:
        return "fonts_error";
    default:
        return "unknown";
    }
}

} // namespace TTMLClient
