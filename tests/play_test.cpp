// The files the engine ships with: every line of the opening repertoire is legal and is found in
// the default book move by move, and the commented INI gives the documented settings.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "book/book.h"
#include "movegen/movegen.h"
#include "shell/shell.h"

namespace {

const std::string PlayDir = QUILLFERN_PLAY_DIR;

std::string text_of(Move m) {
    char text[6];
    move_to_text(text, m, CurrentPosition);
    if (text[4] == ' ') text[4] = '\0';
    return text;
}

// The legal move a standard algebraic token names, in coordinates; empty when no legal move or
// more than one fits it.
std::string san_to_coordinates(std::string san) {
    while (!san.empty() && std::string("+#!?").find(san.back()) != std::string::npos) san.pop_back();
    int type = Pawn, promotion = 0;
    std::uint32_t castle = 0;
    std::string from_hint;
    if (san == "O-O") castle = CastleKingSide;
    if (san == "O-O-O") castle = CastleQueenSide;
    if (!castle) {
        if (auto eq = san.find('='); eq != std::string::npos) {
            promotion = int(std::string(" PNBRQK").find(san[eq + 1]));
            san       = san.substr(0, eq);
        }
        if (san.size() < 2) return "";
        if (std::string("NBRQK").find(san[0]) != std::string::npos) {
            type = int(std::string(" PNBRQK").find(san[0]));
            san  = san.substr(1);
        }
        for (char c : san.substr(0, san.size() - 2))
            if (c != 'x') from_hint += c;
    }
    std::string to = castle ? "" : san.substr(san.size() - 2);

    Move moves[MaxGameMoves];
    int count;
    generate_moves(moves, count);
    std::string found;
    int matches = 0;
    for (int i = 0; i < count; ++i) {
        Move m = moves[i];
        make_move(m);
        bool legal = !move_left_king_in_check();
        take_back();
        if (!legal) continue;
        std::string text = text_of(m);
        bool fits = castle ? move_flags(m) == castle
                           : move_flags(m) != CastleKingSide && move_flags(m) != CastleQueenSide &&
                                 int(move_flags(m) & 7) == type && text.substr(2, 2) == to &&
                                 move_promotion(m) == (type == Pawn ? promotion : move_promotion(m));
        for (char c : from_hint) fits = fits && (text[0] == c || text[1] == c);
        if (fits) found = text, ++matches;
    }
    return matches == 1 ? found : "";
}

// The move tokens of every game of a PGN file.
std::vector<std::vector<std::string>> read_games(const std::string& path) {
    std::ifstream in(path);
    std::vector<std::vector<std::string>> games;
    std::string line;
    std::vector<std::string> game;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '[') continue;
        std::istringstream words(line);
        for (std::string w; words >> w;) {
            if (w == "*" || w == "1-0" || w == "0-1" || w == "1/2-1/2") {
                games.push_back(game);
                game.clear();
            } else if (!std::isdigit(static_cast<unsigned char>(w[0]))) {
                game.push_back(w);
            } else if (auto dot = w.find_last_of('.'); dot + 1 < w.size()) {
                game.push_back(w.substr(dot + 1)); // "1.e4"
            }
        }
    }
    return games;
}

} // namespace

TEST(PlayFiles, EveryRepertoireLineIsLegalAndInTheBook) {
    auto games = read_games(PlayDir + "/openings.pgn");
    ASSERT_GE(games.size(), 150u);
    std::string book = PlayDir + "/book.bin";
    for (std::size_t g = 0; g < games.size(); ++g) {
        SCOPED_TRACE("line " + std::to_string(g + 1));
        EXPECT_GE(games[g].size(), 16u);
        EXPECT_LE(games[g].size(), 28u);
        new_game();
        for (const std::string& san : games[g]) {
            SCOPED_TRACE(san);
            std::string move = san_to_coordinates(san);
            ASSERT_FALSE(move.empty()) << "not one legal move";
            testing::internal::CaptureStdout();
            ASSERT_EQ(show_book_moves(book.c_str()), 0);
            std::string listing = testing::internal::GetCapturedStdout();
            EXPECT_NE(listing.find("move=" + move + " "), std::string::npos) << listing;
            ASSERT_EQ(enter_user_move(move.c_str()), 1);
        }
    }
    new_game();
}

TEST(PlayFiles, TheCommentedIniGivesTheDocumentedSettings) {
    load_settings((PlayDir + "/quillfern.ini").c_str());
    testing::internal::CaptureStdout();
    show_params();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "\n[ENGINE]\n"
              "Depht:              32\n"
              "postThinking:       1\n"
              "\n[LOG]\n"
              "logFile:            quillfern.log\n"
              "logGame:            0\n"
              "\n[BOOK]\n"
              "bookFile:           book.bin\n"
              "book:               1\n"
              "randBook:           1\n"
              "\n[TIME]\n"
              "MaxTime:            3600 s\n"
              "moveTime:           3600 s\n"
              "suddenDeath:        20\n"
              "moreTime:           5\n"
              "lessTime:           5\n"
              "fastGame:           5\n"
              "\n");
    load_settings("no such file.ini");
}
