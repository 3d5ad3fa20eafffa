// Sockets that clients connect to, and what is in their way.
#include "netconf/listener.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/store/temporary_folder.h"

namespace qnips::test
{
namespace
{

using testing::HasSubstr;

sockaddr_un address_of(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    return address;
}

// Whether somebody listens there.
bool answers(const std::string& path)
{
    const FileDescriptor client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = address_of(path);
    return connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

FileDescriptor bound_to(const std::string& path, int type)
{
    FileDescriptor made(socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
    const sockaddr_un address = address_of(path);
    if (bind(made.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("no socket");
    return made;
}

std::string refusal(const std::string& path)
{
    try {
        const auto listener = listen_on_socket(path, 0600);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "it listens";
}

TEST(UnixListener, LeavesALiveServerItsSocket)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("socket");
    const auto first = listen_on_socket(path, 0600);
    EXPECT_EQ(refusal(path), fmt::format("cannot listen on the socket {}: a server listens there already", path));
    EXPECT_TRUE(answers(path));
}

// Its clients wait until it takes them, and no more can wait.
TEST(UnixListener, LeavesABusyServerItsSocket)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("socket");
    const FileDescriptor busy = bound_to(path, SOCK_STREAM);
    ASSERT_EQ(listen(busy.get(), 0), 0);
    const FileDescriptor waiting(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_un address = address_of(path);
    ASSERT_EQ(connect(waiting.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_THAT(refusal(path), HasSubstr("a server listens there already"));
}

TEST(UnixListener, TakesTheSocketOfAnEarlierProcess)
{
    const TemporaryFolder folder;
    const std::string path = folder.file("socket");
    bound_to(path, SOCK_STREAM).reset();
    EXPECT_FALSE(answers(path));
    const auto listener = listen_on_socket(path, 0600);
    EXPECT_TRUE(answers(path));
}

TEST(UnixListener, LeavesWhatIsNoSocketOfAServer)
{
    const TemporaryFolder folder;
    const std::string file = folder.file("file");
    write_file(file, "precious");
    EXPECT_EQ(refusal(file), file + " is there and is no socket");
    EXPECT_EQ(content_of(file), "precious");

    const std::string link = folder.file("link");
    std::filesystem::create_symlink(folder.file("nothing"), link);
    EXPECT_EQ(refusal(link), link + " is there and is no socket");
    EXPECT_TRUE(std::filesystem::is_symlink(link));

    const std::string other = folder.file("other");
    const FileDescriptor datagrams = bound_to(other, SOCK_DGRAM);
    EXPECT_THAT(refusal(other), HasSubstr("cannot listen on the socket " + other));
    EXPECT_TRUE(std::filesystem::exists(other));
}

TEST(UnixListener, HasTheModeThatIsAskedFor)
{
    const TemporaryFolder folder;
    for (const unsigned mode : {0600U, 0666U}) {
        const std::string path = folder.file(fmt::format("{:o}", mode));
        const auto listener = listen_on_socket(path, mode);
        struct stat status {
        };
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, mode);
    }
}

// On one port, as the settings of the service offer it.
TEST(PortListener, TakesAllAddressesOfBothFamilies)
{
    const FileDescriptor old = listen_on_port("0.0.0.0", 0);
    const std::uint16_t port = port_of(old);
    const FileDescriptor present = listen_on_port("::", port);
    EXPECT_EQ(port_of(present), port);
}

} // namespace
} // namespace qnips::test
