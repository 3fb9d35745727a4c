#include <stdio.h>
#include <virtual_board.h>
#include <zantor_obvelline_qx4_rk/parameter_ids.h>

int main(void) {
    VirtualBoard* board = virtualBoardOpen();
    printf("a board: %s, FG_WIDTH is %d\n", board != NULL ? "yes" : "no", FG_WIDTH);
    virtualBoardClose(board);
    return board == NULL;
}
