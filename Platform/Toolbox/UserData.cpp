#include "UserData.h"

#include <algorithm>
#include <limits>

#include "Private/HandleBytes.h"
#include "Private/RecordCalls.h"
#include "Private/UserDataList.h"

namespace TWQuickTime {
namespace {

/// The record of the list that belongs to a movie, track or media.
UserDataRecord* listOf(std::unique_ptr<UserDataRecord>& record, timeline::UserData& list) {
    if (!record)
        record = std::make_unique<UserDataRecord>(list);
    return record.get();
}

template <class Work>
OSErr workOnList(const char* name, UserData userData, Work work) {
    ToolboxCall call(name);
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    UserDataRecord* record = liveUserData(userData);
    return call.finish(record ? work(*record) : paramErr);
}

timeline::UserDataItem* itemAt(UserDataRecord& record, OSType type, ToolboxIndex index) {
    return index < 1 ? nullptr : record.list->find(type, static_cast<std::size_t>(index));
}

}  // namespace

UserData GetMovieUserData(Movie movie) {
    return readObject("GetMovieUserData", movie, UserData{nullptr}, [](MovieRecord& record) {
        return listOf(record.userData, record.movie->userData);
    });
}

UserData GetTrackUserData(Track track) {
    return readObject("GetTrackUserData", track, UserData{nullptr}, [](TrackRecord& record) {
        return listOf(record.userData, record.track->userData);
    });
}

UserData GetMediaUserData(Media media) {
    return readObject("GetMediaUserData", media, UserData{nullptr}, [](MediaRecord& record) {
        return listOf(record.userData, record.media->userData);
    });
}

OSErr NewUserData(UserData* userData) {
    ToolboxCall call("NewUserData");
    if (userData)
        *userData = nullptr;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!userData)
        return call.fail(paramErr);
    *userData = std::make_unique<UserDataRecord>().release();
    return call.succeed();
}

OSErr DisposeUserData(UserData userData) {
    return workOnList("DisposeUserData", userData, [](UserDataRecord& record) -> OSErr {
        if (!record.own)
            return paramErr;
        delete &record;
        return noErr;
    });
}

OSErr NewUserDataFromHandle(Handle handle, UserData* userData) {
    ToolboxCall call("NewUserDataFromHandle");
    if (userData)
        *userData = nullptr;
    if (call.faulted())
        return static_cast<OSErr>(call.status());
    if (!userData || !IsHandleValid(handle))
        return call.fail(paramErr);
    auto record = std::make_unique<UserDataRecord>();
    if (!readUserDataList(handleBytes(handle), *record->list))
        return call.fail(paramErr);
    *userData = record.release();
    return call.succeed();
}

OSErr PutUserDataIntoHandle(UserData userData, Handle handle) {
    return workOnList("PutUserDataIntoHandle", userData, [&](UserDataRecord& record) -> OSErr {
        if (!IsHandleValid(handle))
            return nilHandleErr;
        const std::vector<std::byte> bytes = writeUserDataList(*record.list);
        if (!resizeHandle(handle, bytes.size()))
            return memFullErr;
        std::copy(bytes.begin(), bytes.end(), handleBytes(handle).begin());
        return noErr;
    });
}

std::int16_t CountUserDataType(UserData userData, OSType type) {
    std::size_t count = 0;
    workOnList("CountUserDataType", userData, [&](const UserDataRecord& record) -> OSErr {
        count = record.list->count(type);
        return noErr;
    });
    return static_cast<std::int16_t>(
        std::min<std::size_t>(count, std::numeric_limits<std::int16_t>::max()));
}

OSType GetNextUserDataType(UserData userData, OSType type) {
    OSType next = 0;
    workOnList("GetNextUserDataType", userData, [&](const UserDataRecord& record) -> OSErr {
        next = record.list->nextType(type);
        return noErr;
    });
    return next;
}

OSErr GetUserData(UserData userData, Handle data, OSType type, ToolboxIndex index) {
    return workOnList("GetUserData", userData, [&](UserDataRecord& record) -> OSErr {
        if (!IsHandleValid(data))
            return nilHandleErr;
        const timeline::UserDataItem* item = itemAt(record, type, index);
        if (!item)
            return userDataItemNotFound;
        if (!resizeHandle(data, item->data.size()))
            return memFullErr;
        std::copy_n(item->data.data(), item->data.size(), handleBytes(data).begin());
        return noErr;
    });
}

OSErr AddUserData(UserData userData, Handle data, OSType type) {
    return workOnList("AddUserData", userData, [&](UserDataRecord& record) -> OSErr {
        if (!IsHandleValid(data))
            return nilHandleErr;
        record.list->add(type, timeline::SharedBytes::copyOf(handleBytes(data)));
        return noErr;
    });
}

OSErr RemoveUserData(UserData userData, OSType type, ToolboxIndex index) {
    return workOnList("RemoveUserData", userData, [&](UserDataRecord& record) -> OSErr {
        const bool removed =
            index >= 1 && record.list->remove(type, static_cast<std::size_t>(index));
        return removed ? noErr : userDataItemNotFound;
    });
}

OSErr GetUserDataItem(UserData userData, void* data, std::int32_t size, OSType type,
                      ToolboxIndex index) {
    return workOnList("GetUserDataItem", userData, [&](UserDataRecord& record) -> OSErr {
        if (size < 0 || (!data && size > 0))
            return paramErr;
        const timeline::UserDataItem* item = itemAt(record, type, index);
        if (!item)
            return userDataItemNotFound;
        if (item->data.size() != static_cast<std::size_t>(size))
            return paramErr;
        std::copy_n(item->data.data(), item->data.size(), static_cast<std::byte*>(data));
        return noErr;
    });
}

OSErr SetUserDataItem(UserData userData, const void* data, std::int32_t size, OSType type,
                      ToolboxIndex index) {
    return workOnList("SetUserDataItem", userData, [&](UserDataRecord& record) -> OSErr {
        if (size < 0 || (!data && size > 0))
            return paramErr;
        const auto wanted = static_cast<std::size_t>(std::max(index, 1));
        const std::size_t count = record.list->count(type);
        if (wanted > count + 1)
            return userDataItemNotFound;
        timeline::SharedBytes copy = timeline::SharedBytes::copyOf(
            {static_cast<const std::byte*>(data), static_cast<std::size_t>(size)});
        if (timeline::UserDataItem* item = record.list->find(type, wanted))
            item->data = std::move(copy);
        else
            record.list->add(type, std::move(copy));
        return noErr;
    });
}

OSErr AddUserDataText(UserData userData, Handle text, OSType type, ToolboxIndex index,
                      std::int16_t language) {
    return workOnList("AddUserDataText", userData, [&](UserDataRecord& record) -> OSErr {
        const std::span<const std::byte> bytes = handleBytes(text);
        if (!IsHandleValid(text) || bytes.size() > std::numeric_limits<std::uint16_t>::max())
            return paramErr;
        if (index < 1 || static_cast<std::size_t>(index) > record.list->count(type) + 1)
            return userDataItemNotFound;
        timeline::UserDataItem* item = itemAt(record, type, index);
        std::vector<UserDataText> texts;
        if (item && !readUserDataTexts(item->data, texts))
            return userDataItemNotFound;
        setTextOfLanguage(texts, language, bytes);
        auto stored = timeline::SharedBytes::adopt(writeUserDataTexts(texts));
        if (item)
            item->data = std::move(stored);
        else
            record.list->add(type, std::move(stored));
        return noErr;
    });
}

OSErr GetUserDataText(UserData userData, Handle text, OSType type, ToolboxIndex index,
                      std::int16_t language) {
    return workOnList("GetUserDataText", userData, [&](UserDataRecord& record) -> OSErr {
        if (!IsHandleValid(text))
            return nilHandleErr;
        const timeline::UserDataItem* item = itemAt(record, type, index);
        std::vector<UserDataText> texts;
        if (!item || !readUserDataTexts(item->data, texts))
            return userDataItemNotFound;
        const UserDataText* found = textOfLanguage(texts, language);
        if (!found)
            return userDataItemNotFound;
        if (!resizeHandle(text, found->text.size()))
            return memFullErr;
        std::copy(found->text.begin(), found->text.end(), handleBytes(text).begin());
        return noErr;
    });
}

OSErr RemoveUserDataText(UserData userData, OSType type, ToolboxIndex index,
                         std::int16_t language) {
    return workOnList("RemoveUserDataText", userData, [&](UserDataRecord& record) -> OSErr {
        timeline::UserDataItem* item = itemAt(record, type, index);
        std::vector<UserDataText> texts;
        if (!item || !readUserDataTexts(item->data, texts))
            return userDataItemNotFound;
        const auto removed = std::erase_if(texts, [&](const UserDataText& candidate) {
            return candidate.language == static_cast<std::uint16_t>(language);
        });
        if (removed == 0)
            return userDataItemNotFound;
        if (texts.empty())
            record.list->remove(type, static_cast<std::size_t>(index));
        else
            item->data = timeline::SharedBytes::adopt(writeUserDataTexts(texts));
        return noErr;
    });
}

}  // namespace TWQuickTime
