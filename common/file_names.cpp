#include "file_names.h"

#include <algorithm>
#include <cstdio>

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif

namespace tav3d::common
{

namespace fs = std::filesystem;

#ifdef _WIN32

namespace
{

/// Empty when the text is not valid in that code page and `flags` forbid it.
std::wstring widened(std::string_view text, unsigned codePage, unsigned long flags)
{
    const int size = static_cast<int>(text.size());
    const int length = MultiByteToWideChar(codePage, flags, text.data(), size, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(codePage, flags, text.data(), size, wide.data(), length);
    return wide;
}

std::string narrowed(std::wstring_view text)
{
    const int size = static_cast<int>(text.size());
    const int length = WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, narrow.data(), length, nullptr, nullptr);
    return narrow;
}

/// What a full path begins with: "C:" or "\\server\share", from where ".." leads no further up. (The standard library of mingw-w64 knows drives only, and
/// takes shares for folders of the current drive.)
std::wstring rootOf(const fs::path& path)
{
    constexpr const wchar_t* separators = LR"(\/)";
    const std::wstring& text = path.native();
    if (text.find_first_of(separators) != 0 || text.find_first_of(separators, 1) != 1)
        return path.root_name().native();
    const std::size_t server = text.find_first_of(separators, 2);
    return server == std::wstring::npos ? text : text.substr(0, text.find_first_of(separators, server + 1));
}

/// The name under which the system keeps the file or folder; empty when there is none, or when its file system does not tell.
std::wstring keptName(const fs::path& path)
{
    constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE handle =
        CreateFileW(path.c_str(), 0, shareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr); // no access: never refused
    if (handle == INVALID_HANDLE_VALUE)
        return {};
    std::wstring name(GetFinalPathNameByHandleW(handle, nullptr, 0, 0), L'\0');
    name.resize(GetFinalPathNameByHandleW(handle, name.data(), static_cast<DWORD>(name.size()), 0));
    CloseHandle(handle);
    constexpr std::wstring_view share = LR"(\\?\UNC\)";
    constexpr std::wstring_view drive = LR"(\\?\)";
    if (name.starts_with(share))
        name.replace(0, share.size(), LR"(\\)");
    else if (name.starts_with(drive) && name.substr(drive.size() + 1).starts_with(L":"))
        name.erase(0, drive.size());
    return name;
}

/// In capital letters, as the system compares names.
std::wstring folded(const std::wstring& text)
{
    std::wstring capitals(text.size(), L'\0');
    const int size = static_cast<int>(text.size());
    LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, text.data(), size, capitals.data(), size, nullptr, nullptr, 0);
    return capitals;
}

/// Names that lead to a device in every folder, whatever stands behind a dot.
bool isDeviceName(const fs::path& path)
{
    if (path.native().starts_with(LR"(\\?\)"))
        return false; // is taken as it stands
    std::wstring name = folded(path.filename().native());
    name.resize(std::min(name.find(L'.'), name.size()));
    name.resize(name.find_last_not_of(L' ') + 1);
    for (const wchar_t* const device : {L"CON", L"PRN", L"AUX", L"NUL", L"CONIN$", L"CONOUT$"})
        if (name == device)
            return true;
    return name.size() == 4 && (name.starts_with(L"COM") || name.starts_with(L"LPT")) &&
           std::wstring_view(L"0123456789\u00b9\u00b2\u00b3").find(name[3]) != std::wstring_view::npos;
}

} // namespace

fs::path pathOf(std::string_view name)
{
    if (name.empty())
        return {};
    std::wstring wide = widened(name, CP_UTF8, MB_ERR_INVALID_CHARS);
    if (wide.empty())
        wide = widened(name, CP_ACP, 0);
    return {std::move(wide)};
}

std::string nameOf(const fs::path& path)
{
    return path.empty() ? std::string() : narrowed(path.native());
}

std::string genericNameOf(const fs::path& path)
{
    std::wstring text = path.native();
    if (!text.starts_with(LR"(\\?\)"))
        std::replace(text.begin(), text.end(), L'\\', L'/');
    return nameOf(text);
}

fs::path inFolder(const fs::path& folder, const fs::path& name)
{
    const std::wstring& text = folder.native();
    if (text.empty() || text.find(L'\\') != std::wstring::npos || text.ends_with(L'/') || text.ends_with(L':'))
        return folder / name;
    return {text + L'/' + name.native()};
}

std::string normalNameInFolder(const fs::path& folder, const fs::path& name)
{
    const fs::path joined = rootOf(name).empty() ? folder / name : name;
    const std::wstring root = rootOf(joined);
    const fs::path normal = root + fs::path(joined.native().substr(root.size())).lexically_normal().native(); // has backslashes throughout
    return folder.native().find(L'\\') != std::wstring::npos ? nameOf(normal) : genericNameOf(normal);
}

fs::path fullPath(const fs::path& path)
{
    std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
    full.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return {full};
}

fs::path identityOf(const fs::path& path)
{
    if (const std::wstring kept = keptName(path); !kept.empty())
        return {kept};
    const fs::path whole = fullPath(path);
    const std::wstring folder = keptName(whole.parent_path());
    return folder.empty() ? fs::path(folded(whole.native())) : fs::path(folder) / folded(whole.filename().native());
}

std::string relativeName(const fs::path& file, const fs::path& folder)
{
    const std::wstring whole = fullPath(file).native();
    const std::wstring from = fullPath(folder.empty() ? fs::path(L".") : folder).native();
    const std::size_t root = rootOf(whole).size();
    if (folded(rootOf(whole)) != folded(rootOf(from)))
        return genericNameOf(whole);
    return genericNameOf(fs::path(whole.substr(root)).lexically_relative(from.substr(root)));
}

int removeFile(const char* name)
{
    return _wremove(pathOf(name).c_str());
}

int renameFile(const char* oldName, const char* newName)
{
    return _wrename(pathOf(oldName).c_str(), pathOf(newName).c_str());
}

std::string ifTooLong(const fs::path& path)
{
    const std::size_t length = fullPath(path).native().size();
    if (length < MAX_PATH)
        return {};
    return "; its path has " + std::to_string(length) + " characters, and Windows takes " + std::to_string(MAX_PATH - 1) +
           " unless long paths are enabled";
}

#else

fs::path pathOf(std::string_view name)
{
    return {name};
}

std::string nameOf(const fs::path& path)
{
    return path.string();
}

std::string genericNameOf(const fs::path& path)
{
    return path.generic_string();
}

fs::path inFolder(const fs::path& folder, const fs::path& name)
{
    return folder / name;
}

std::string normalNameInFolder(const fs::path& folder, const fs::path& name)
{
    return (folder / name).lexically_normal().string();
}

fs::path fullPath(const fs::path& path)
{
    std::error_code error;
    const fs::path full = fs::absolute(path, error);
    return error ? path : full;
}

fs::path identityOf(const fs::path& path)
{
    std::error_code error;
    const fs::path whole = fullPath(path);
    fs::path canonical = fs::weakly_canonical(whole, error);
    return error ? whole.lexically_normal() : canonical;
}

std::string relativeName(const fs::path& file, const fs::path& folder)
{
    std::error_code error;
    const fs::path whole = fs::weakly_canonical(fullPath(file), error);
    const fs::path from = error ? fs::path() : fs::weakly_canonical(fullPath(folder.empty() ? fs::path(".") : folder), error);
    return error ? nameOf(fullPath(file)) : nameOf(whole.lexically_relative(from));
}

int removeFile(const char* name)
{
    return std::remove(name);
}

int renameFile(const char* oldName, const char* newName)
{
    return std::rename(oldName, newName);
}

std::string ifTooLong(const fs::path&)
{
    return {};
}

#endif

std::string whyNoTarget(const fs::path& path)
{
    std::error_code ignored;
    if (fs::is_directory(path, ignored))
        return "is a folder";
#ifdef _WIN32
    if (isDeviceName(path))
        return "is the name of a device";
#endif
    return {};
}

} // namespace tav3d::common
