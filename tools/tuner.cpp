// Fits the strong evaluation's weights to game results by Texel's method: the static score s of
// each position, from its trace, is mapped to an expected result sigmoid(K s); K is fitted
// first, then the weights, by Adam on the mean squared error against the games' results (with
// -s, results blended with search scores). Writes the weights as the C++ header the build
// compiles.
//
//   tuner [-b] [-r RATE] [-l LAMBDA] [-s SHARE] OUT_HEADER EPOCHS DATA...
//
// DATA files hold "FEN RESULT" lines (tools/selfplay), RESULT 1, 0.5 or 0 for White, or
// "FEN RESULT SCORE" lines (tools/pgn_positions.py), SCORE a search's score for White in
// hundredths of a pawn. With -s, each position is fitted to a target of SHARE times the
// search's score as an expected result, sigmoid(K SCORE), and the rest the game's result: less
// noise than the result alone, from fewer games (a position without a score keeps its result). The
// weights start from the ones compiled in; a weight that counts in fewer than MinUses positions
// keeps its value, and so do the material and square tables with -b. RATE is Adam's step
// (default 1), LAMBDA the weight of the pull towards the starting values (default 1e-8). Every
// tenth block of positions is held out and its error printed. Every position's score from its
// trace is checked against the evaluation's.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "eval/eval.h"
#include "eval/strong_terms.h"
#include "eval/strong_weights.h"

namespace {

constexpr int MinUses  = 50;
constexpr double Beta1 = 0.9, Beta2 = 0.999;
double LearningRate = 1, Lambda = 1e-8; // options -r and -l
double ScoreShare = 0;     // option -s: the search score's share in each position's target
bool KeepBase     = false; // option -b: the material and square tables keep their values

// A position as the tuner keeps it: its nonzero counts, linear then king danger.
struct Term {
    std::uint16_t index; // a weight, or DangerStart + unit for the danger of side `side`
    std::int16_t count;
    std::uint8_t side; // for a danger unit: 0 the side to move's attack, 1 the opponent's
};
struct Sample {
    std::uint32_t first, linear, danger; // the terms from first: linear ones, then danger ones
    std::uint8_t phase;
    std::uint8_t dangerOn, cannotWin; // bit 0 the side to move's, bit 1 the opponent's
    std::uint8_t scale[2];            // of the end game when the side to move, the opponent leads
    float result;                     // for the side to move
    float score;                      // the search's, for the side to move; NaN: none
};
struct Data {
    std::vector<Term> terms;
    std::vector<Sample> samples;
};

// The weights as reals: middle game, then end game.
struct Weights {
    std::vector<double> middle, end;
};

void add_sample(Data& data, const StrongTrace& t, double result, double score) {
    Sample s{std::uint32_t(data.terms.size()),
             0,
             0,
             std::uint8_t(t.phase),
             0,
             0,
             {std::uint8_t(t.scale[0]), std::uint8_t(t.scale[1])},
             float(result),
             float(score)};
    for (int i = 0; i < WeightCount; ++i)
        if (t.linear[i]) data.terms.push_back({std::uint16_t(i), t.linear[i], 0}), ++s.linear;
    for (int side = 0; side < 2; ++side) {
        if (!t.dangerOn[side]) continue;
        s.dangerOn |= std::uint8_t(1 << side);
        for (int u = 0; u < DangerCount; ++u)
            if (t.danger[side][u])
                data.terms.push_back(
                    {std::uint16_t(DangerStart + u), t.danger[side][u], std::uint8_t(side)}),
                    ++s.danger;
    }
    s.cannotWin = std::uint8_t(t.cannotWin[0] | (t.cannotWin[1] << 1));
    data.samples.push_back(s);
}

// The score of a sample under the weights, and what it needs for the gradient: the king danger
// units of each side and the end game's scale.
struct Scored {
    double score, units[2], scale;
    bool zeroed; // a side that cannot win led: the score is 0 whatever the weights
};
double danger_bonus(double units) {
    const double bonus = units * units / DangerDivisor;
    return bonus < DangerCap ? bonus : DangerCap;
}
Scored score_of(const Data& data, const Sample& s, const Weights& w) {
    double middle = 0, end = 0, units[2] = {0, 0};
    const Term* term = &data.terms[s.first];
    for (std::uint32_t i = 0; i < s.linear; ++i, ++term) {
        middle += term->count * w.middle[term->index];
        end += term->count * w.end[term->index];
    }
    for (std::uint32_t i = 0; i < s.danger; ++i, ++term)
        units[term->side] += term->count * w.middle[term->index];
    middle += danger_bonus(units[0]) - danger_bonus(units[1]);
    const double scale = double(s.scale[end > 0 ? 0 : 1]) / FullScale;
    const double score = (middle * s.phase + end * scale * (FullPhase - s.phase)) / FullPhase;
    const bool zeroed  = (score > 0 && (s.cannotWin & 1)) || (score < 0 && (s.cannotWin & 2));
    return {zeroed ? 0 : score, {units[0], units[1]}, scale, zeroed};
}

double sigmoid(double k, double score) { return 1 / (1 + std::exp(-k * score)); }

// Every HeldOut-th block of 1024 positions (about ten games, whose positions share a result) is
// kept out of the fit to measure it.
constexpr std::size_t HeldOut = 10;
constexpr bool held_out(std::size_t i) { return i / 1024 % HeldOut == HeldOut - 1; }

// The mean squared error over the positions fitted to, or over those held out.
double mean_error(const Data& data, const Weights& w, double k, bool on_held_out = false) {
    double sum    = 0;
    std::size_t n = 0;
    for (std::size_t i = 0; i < data.samples.size(); ++i) {
        if (held_out(i) != on_held_out) continue;
        const Sample& s = data.samples[i];
        const double e  = s.result - sigmoid(k, score_of(data, s, w).score);
        sum += e * e;
        ++n;
    }
    return n ? sum / double(n) : 0;
}

// K by golden-section search on the error of the starting weights.
double fit_k(const Data& data, const Weights& w) {
    const double ratio = (std::sqrt(5.0) - 1) / 2;
    double lo = 0.0005, hi = 0.02;
    for (int step = 0; step < 40; ++step) {
        const double a = hi - ratio * (hi - lo), b = lo + ratio * (hi - lo);
        if (mean_error(data, w, a) < mean_error(data, w, b))
            hi = b;
        else
            lo = a;
    }
    return (lo + hi) / 2;
}

// Each position's target becomes ScoreShare times its search score as an expected result and
// the rest its game's result.
void blend_targets(Data& data, double k) {
    if (ScoreShare == 0) return;
    for (Sample& s : data.samples)
        if (!std::isnan(s.score))
            s.result = float((1 - ScoreShare) * s.result + ScoreShare * sigmoid(k, s.score));
}

// The gradient of the mean squared error, added into g (middle then end, as the weights).
void gradient(const Data& data, const Weights& w, double k, Weights& g) {
    std::fill(g.middle.begin(), g.middle.end(), 0.0);
    std::fill(g.end.begin(), g.end.end(), 0.0);
    for (std::size_t n = 0; n < data.samples.size(); ++n) {
        const Sample& s = data.samples[n];
        if (held_out(n)) continue;
        const Scored sc = score_of(data, s, w);
        if (sc.zeroed) continue;
        const double p   = sigmoid(k, sc.score);
        const double d   = -2 * (s.result - p) * p * (1 - p) * k; // d error / d score
        const double dm  = d * s.phase / FullPhase;
        const double de  = d * sc.scale * (FullPhase - s.phase) / FullPhase;
        const Term* term = &data.terms[s.first];
        for (std::uint32_t i = 0; i < s.linear; ++i, ++term) {
            g.middle[term->index] += dm * term->count;
            g.end[term->index] += de * term->count;
        }
        for (std::uint32_t i = 0; i < s.danger; ++i, ++term) {
            const double u = sc.units[term->side];
            if (u * u / DangerDivisor >= DangerCap) continue;
            const double sign = term->side ? -1 : 1;
            g.middle[term->index] += sign * dm * 2 * u / DangerDivisor * term->count;
        }
    }
}

// The end-game values the fit leaves as they are: the pawns' squares and the passed pawn's
// terms. The positions kept for the fit leave out those whose best move promotes, so that the
// data shows advanced passed pawns worth less than they are; these keep their starting values,
// which rise with the rank.
constexpr WeightGroupId FixedInTheEnd[] = {PawnTable, Passed, PasserKingDistance, PassedFree};
bool fixed_in_the_end(int index) {
    for (WeightGroupId g : FixedInTheEnd)
        if (index >= weight(g) && index < weight(g) + WeightGroups[g].count) return true;
    return false;
}

// Adam over the weights that counted often enough and are not fixed (the others keep their
// values), on the error plus Lambda times the sum of each weight's squared change from where it
// started: a weight the data says little about stays near its starting value.
void fit(const Data& data, Weights& w, double k, int epochs, const std::vector<int>& uses) {
    const std::size_t n = WeightCount;
    const Weights start = w;
    std::size_t fitted  = 0;
    for (std::size_t i = 0; i < data.samples.size(); ++i) fitted += !held_out(i);
    Weights g{std::vector<double>(n), std::vector<double>(n)};
    std::vector<double> m1(2 * n), m2(2 * n);
    const auto began = std::chrono::steady_clock::now();
    for (int epoch = 1; epoch <= epochs; ++epoch) {
        gradient(data, w, k, g);
        for (std::size_t i = 0; i < 2 * n; ++i) {
            if (uses[i % n] < MinUses || (i >= n && fixed_in_the_end(int(i - n))) ||
                (KeepBase && int(i % n) < weight(KnightMobility)))
                continue;
            double& weight    = i < n ? w.middle[i] : w.end[i - n];
            const double from = i < n ? start.middle[i] : start.end[i - n];
            const double grad = (i < n ? g.middle[i] : g.end[i - n]) / double(fitted) +
                                2 * Lambda * (weight - from);
            m1[i]           = Beta1 * m1[i] + (1 - Beta1) * grad;
            m2[i]           = Beta2 * m2[i] + (1 - Beta2) * grad * grad;
            const double mh = m1[i] / (1 - std::pow(Beta1, epoch));
            const double vh = m2[i] / (1 - std::pow(Beta2, epoch));
            weight -= LearningRate * mh / (std::sqrt(vh) + 1e-12);
        }
        if (epoch % 100 == 0 || epoch == epochs)
            std::fprintf(
                stderr, "epoch %d: error %.6f, held out %.6f (%.0f s)\n", epoch,
                mean_error(data, w, k), mean_error(data, w, k, true),
                std::chrono::duration<double>(std::chrono::steady_clock::now() - began).count());
    }
}

// Reads the data files; counts the positions whose score from the trace strays from the
// evaluation's by more than rounding, and how many positions each weight counts in.
bool load(int files, char** names, Data& data, std::vector<int>& uses) {
    StrongTrace trace;
    long strays = 0;
    const Weights start{{MiddleWeights, MiddleWeights + WeightCount},
                        {EndWeights, EndWeights + WeightCount}};
    for (int f = 0; f < files; ++f) {
        std::ifstream in(names[f]);
        if (!in) return std::fprintf(stderr, "cannot read %s\n", names[f]), false;
        for (std::string line; std::getline(in, line);) {
            // The FEN's six fields, the result, and the score when there is one.
            std::size_t cut = 0;
            for (int field = 0; field < 6 && cut != std::string::npos; ++field)
                cut = line.find(' ', cut + (field > 0));
            if (cut == std::string::npos) continue;
            char* rest                = nullptr;
            const double white_result = std::strtod(line.c_str() + cut, &rest);
            char* end                 = nullptr;
            const double white_score  = std::strtod(rest, &end);
            new_game();
            if (!read_fen(line.substr(0, cut).c_str())) continue;
            strong_trace(*CurrentPosition, trace);
            const bool black = CurrentPosition->blackToMove != 0;
            add_sample(data, trace, black ? 1 - white_result : white_result,
                       end == rest ? NAN
                       : black     ? -white_score
                                   : white_score);
            for (int i = 0; i < WeightCount; ++i) uses[i] += trace.linear[i] != 0;
            for (int u = 0; u < DangerCount; ++u)
                uses[DangerStart + u] += (trace.danger[0][u] || trace.danger[1][u]);
            const double traced = score_of(data, data.samples.back(), start).score;
            strays += std::abs(traced - strong_evaluate(*CurrentPosition)) > 2;
        }
    }
    std::fprintf(stderr,
                 "%zu positions, %zu terms; scores from the trace off by more than 2: "
                 "%ld\n",
                 data.samples.size(), data.terms.size(), strays);
    return !data.samples.empty() && strays == 0;
}

// Moves the mean of each piece's square table (over the squares it can stand on) and of its
// mobility table (weighted by how often each count was seen) into its material value: the same
// scores, tables centred on zero.
void shift_mean(std::vector<double>& phase, int from, int count, const std::vector<int>& weights,
                int material) {
    double sum = 0, total = 0;
    for (int i = from; i < from + count; ++i) sum += weights[i] * phase[i], total += weights[i];
    if (total == 0) return;
    for (int i = from; i < from + count; ++i)
        if (weights[i]) phase[i] -= sum / total;
    phase[material] += sum / total;
}
void centre_tables(Weights& w, const std::vector<int>& uses) {
    std::vector<int> square_weights(WeightCount, 1);
    for (int sq : {0, 1, 2, 3, 4, 5, 6, 7, 56, 57, 58, 59, 60, 61, 62, 63})
        square_weights[weight(PawnTable, sq)] = 0;
    for (int type = Pawn; type <= Queen; ++type) {
        const int material = weight(MaterialGroup, type);
        const auto table   = WeightGroupId(PawnTable + type - Pawn);
        const auto moves   = WeightGroupId(KnightMobility + type - Knight);
        for (auto* phase : {&w.middle, &w.end}) {
            shift_mean(*phase, weight(table), 64, square_weights, material);
            if (type != Pawn)
                shift_mean(*phase, weight(moves), WeightGroups[moves].count, uses, material);
        }
    }
}

void write_values(std::FILE* out, const char* name, const std::vector<double>& values) {
    std::fprintf(out, "inline constexpr int %s[] = {\n", name);
    for (int g = 0, i = 0; g < GroupCount; i += WeightGroups[g++].count) {
        const WeightGroup& group = WeightGroups[g];
        std::fprintf(out, "    // %s%s%s\n", group.name, *group.comment ? ": " : "", group.comment);
        for (int r = 0; r < group.count; r += group.row) {
            std::fprintf(out, "   ");
            for (int j = r; j < group.count && j < r + group.row; ++j)
                std::fprintf(out, " %4d,", int(std::lround(values[i + j])));
            std::fprintf(out, "\n");
        }
    }
    std::fprintf(out, "};\n");
}

bool write_header(const char* path, const Weights& w, const std::string& provenance) {
    std::FILE* out = std::fopen(path, "w");
    if (!out) return false;
    std::fprintf(out,
                 "// The strong evaluation's weights: %s\n"
                 "// Written by tools/tuner; eval/strong_terms.h names the groups, their order and "
                 "what each\n// weight is. Square tables run rank 1 first (a1 to h1), as the "
                 "scored side sees the board.\n#pragma once\n\n#include <iterator>\n\n"
                 "#include \"eval/strong_terms.h\"\n\n// clang-format off\n",
                 provenance.c_str());
    write_values(out, "MiddleWeights", w.middle);
    write_values(out, "EndWeights", w.end);
    std::fprintf(out, "// clang-format on\nstatic_assert(std::size(MiddleWeights) == WeightCount "
                      "&& std::size(EndWeights) == WeightCount);\n");
    return std::fclose(out) == 0;
}

} // namespace

int main(int argc, char** argv) {
    for (; argc > 2 && argv[1][0] == '-'; argc -= 2, argv += 2)
        if (argv[1][1] == 'b')
            KeepBase = true, --argv, ++argc;
        else
            (argv[1][1] == 'r'   ? LearningRate
             : argv[1][1] == 's' ? ScoreShare
                                 : Lambda) = std::atof(argv[2]);
    if (argc < 4) {
        std::fprintf(
            stderr,
            "usage: tuner [-b] [-r RATE] [-l LAMBDA] [-s SHARE] OUT_HEADER EPOCHS DATA...\n");
        return 2;
    }
    const int epochs = std::atoi(argv[2]);
    Data data;
    std::vector<int> uses(WeightCount);
    if (!load(argc - 3, argv + 3, data, uses)) return 1;
    Weights w{{MiddleWeights, MiddleWeights + WeightCount}, {EndWeights, EndWeights + WeightCount}};
    const double k = fit_k(data, w);
    blend_targets(data, k);
    const double before = mean_error(data, w, k, true);
    std::fprintf(stderr, "K = %.6f, error %.6f, held out %.6f\n", k, mean_error(data, w, k),
                 before);
    fit(data, w, k, epochs, uses);
    if (epochs > 0) centre_tables(w, uses);
    const double after = mean_error(data, w, k, true);
    char provenance[300];
    std::snprintf(provenance, sizeof provenance,
                  "fitted to %zu positions, the search score's share of\n// each target %g "
                  "(a tenth held out), K = %.5f, %d epochs of rate %g, lambda %g: mean\n// "
                  "squared error on the held-out tenth %.5f, %.5f before.",
                  data.samples.size(), ScoreShare, k, epochs, LearningRate, Lambda, after, before);
    std::fprintf(stderr, "held out %.6f after centring\n", after);
    return write_header(argv[1], w,
                        epochs > 0 ? provenance
                                   : "the published tables and hand-set terms it began with.")
               ? 0
               : 1;
}
