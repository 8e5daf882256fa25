// POSIX implementation of the hand-over socket's place and its peer check: SO_PEERCRED on
// Linux, getpeereid elsewhere.
#include "app/handOverSocket.hpp"

#include <cstdlib>
#include <filesystem>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorvel {

namespace {

// A folder only `user` can enter: theirs, mode 0700, and not a link to somewhere else.
bool privateFolder(const std::string& path, UserId user)
{
    struct stat info {};
    return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == user &&
           (info.st_mode & 0777) == 0700;
}

} // namespace

UserId currentUser() { return ::getuid(); }

std::optional<std::string> handOverSocketPath(UserId user)
{
    const std::string name = "quorvel-" + std::to_string(user);
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime && runtime[0] == '/' && privateFolder(runtime, user))
        return std::string(runtime) + "/" + name;
    std::error_code error;
    const std::string own = (std::filesystem::temp_directory_path(error) / name).string();
    if (error)
        return std::nullopt;
    ::mkdir(own.c_str(), 0700); // or it is there already: checked all the same
    if (!privateFolder(own, user))
        return std::nullopt;
    return own + "/" + name;
}

std::optional<UserId> peerUser(int socket)
{
#ifdef SO_PEERCRED
    struct ucred credentials {};
    socklen_t size = sizeof credentials;
    if (::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0 || size != sizeof credentials)
        return std::nullopt;
    return credentials.uid;
#else
    uid_t user = 0;
    gid_t group = 0;
    if (::getpeereid(socket, &user, &group) != 0)
        return std::nullopt;
    return user;
#endif
}

} // namespace quorvel
