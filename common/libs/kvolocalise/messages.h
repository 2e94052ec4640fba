// The file-transfer messages: one row a message, from which the numbers, the lookup by name and the
// check of the catalogs follow.
#pragma once

// name, number (set in the high 16 bits, message in the low 16), and what the text takes as a
// printf format: d an integer, s a string, "" where it is no format at all. Ascending numbers.
#define KVO_MESSAGES(ROW)                                    \
  ROW(YRAFT_ENG_BUTTON_OPEN, 0x100AA, "")                    \
  ROW(YRAFT_ENG_ERROR_HANDLE_DISK_FULL, 0x100C8, "")         \
  ROW(YRAFT_ENG_GENERIC_ERROR_TEXT, 0x100E4, "")             \
  ROW(YRAFT_ENG_SELECT_FOLDER_TEXT, 0x20006, "")             \
  ROW(YRAFT_ENG_BUTTON_CLOSE, 0x2000A, "")                   \
  ROW(YRAFT_ENG_ERROR_FILE_SIZE_EXCEEDED, 0x20021, "")       \
  ROW(YRAFT_ENG_SELECT_FOLDER_TITLE_TEXT, 0x20043, "")       \
  ROW(YRAFT_ENG_PROGRESSBAR_TITLE, 0x20068, "d")             \
  ROW(YRAFT_ENG_ERROR_DIALOG_MAIN_TEXT, 0x2006E, "")         \
  ROW(YRAFT_ENG_BUTTON_RESUME, 0x20076, "")                  \
  ROW(YRAFT_ENG_ERROR_TOO_MANY_FILES, 0x20082, "")           \
  ROW(YRAFT_ENG_TRANSFER_UPLOAD, 0x200A9, "")                \
  ROW(YRAFT_ENG_BUTTON_CANCEL, 0x200AF, "")                  \
  ROW(YRAFT_ENG_ERROR_NOT_ENOUGH_MEMORY, 0x200B5, "")        \
  ROW(YRAFT_ENG_TRANSFER_FILE, 0x200B6, "")                  \
  ROW(YRAFT_ENG_ERROR_DIALOG_TITLE, 0x200C0, "")             \
  ROW(YRAFT_ENG_SENDTO_LINK_TEXT, 0x200EE, "")               \
  ROW(YRAFT_ENG_TRANSFER_DOWNLOAD, 0x200FC, "")              \
  ROW(YRAFT_ENG_CHOOSE_DIALOG_TITLE, 0x3001D, "")            \
  ROW(YRAFT_ENG_VIRTUAL_DRIVE_TEXT, 0x30042, "")             \
  ROW(YRAFT_ENG_ERROR_ACCESS_DENIED, 0x30046, "")            \
  ROW(YRAFT_ENG_BUTTON_CREATE_FOLDER, 0x30053, "")           \
  ROW(YRAFT_ENG_VIRTUAL_DRIVE_DESCRIPTION_TEXT, 0x30058, "") \
  ROW(YRAFT_ENG_ERROR_POLICY_DISABLE, 0x30074, "")           \
  ROW(YRAFT_ENG_PROGRESSBAR_LABEL, 0x30076, "sdds")          \
  ROW(YRAFT_ENG_BUTTON_PAUSE, 0x30085, "")                   \
  ROW(YRAFT_ENG_BUTTON_SAVE, 0x300AA, "")                    \
  ROW(YRAFT_ENG_DIRECTORY_DIALOG_TITLE, 0x300BA, "")         \
  ROW(YRAFT_ENG_ERROR_SHARING_VIOLATION, 0x300D0, "")

#define KVO_MESSAGE_NUMBER(name, number, kinds) inline constexpr int name = number;
KVO_MESSAGES(KVO_MESSAGE_NUMBER)
#undef KVO_MESSAGE_NUMBER

struct KvoMessage {
  const char* name;
  int number;
  const char* kinds;
};

#define KVO_MESSAGE_ROW(name, number, kinds) {#name, number, kinds},
inline constexpr KvoMessage kMessages[] = {KVO_MESSAGES(KVO_MESSAGE_ROW)};
#undef KVO_MESSAGE_ROW
