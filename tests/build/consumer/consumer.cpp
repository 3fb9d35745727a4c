#include <iostream>
#include <qelm/host/board.h>

int main(int, char** arguments) {
    const qelm::host::Applet applet(arguments[1]);
    qelm::host::Board board(applet);
    board.change("FG_WIDTH", 512U);
    std::cout << "the width is " << board.get<std::uint32_t>("FG_WIDTH") << '\n';
}
