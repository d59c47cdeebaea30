// Fits the strong evaluation's weights to game results by Texel's method: the static score s of
// each position, from its trace, is mapped to an expected result sigmoid(K s); K is fitted
// first, then the weights, by Adam on the mean squared error against the games' results. Writes
// the weights as the C++ header the build compiles.
//
//   tuner OUT_HEADER EPOCHS DATA...
//
// DATA files hold "FEN RESULT" lines (tools/selfplay), RESULT 1, 0.5 or 0 for White. The
// weights start from the ones compiled in; a weight that counts in fewer than MinUses positions
// keeps its value. Every position's score from its trace is checked against the evaluation's.
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

constexpr int MinUses         = 50;
constexpr double LearningRate = 0.5, Beta1 = 0.9, Beta2 = 0.999;

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
    float result;                     // for the side to move
};
struct Data {
    std::vector<Term> terms;
    std::vector<Sample> samples;
};

// The weights as reals: middle game, then end game.
struct Weights {
    std::vector<double> middle, end;
};

void add_sample(Data& data, const StrongTrace& t, double result) {
    Sample s{std::uint32_t(data.terms.size()), 0, 0, std::uint8_t(t.phase), 0, 0, float(result)};
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
// units of each side.
struct Scored {
    double score, units[2];
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
    const double score = (middle * s.phase + end * (FullPhase - s.phase)) / FullPhase;
    const bool zeroed  = (score > 0 && (s.cannotWin & 1)) || (score < 0 && (s.cannotWin & 2));
    return {zeroed ? 0 : score, {units[0], units[1]}, zeroed};
}

double sigmoid(double k, double score) { return 1 / (1 + std::exp(-k * score)); }

double mean_error(const Data& data, const Weights& w, double k) {
    double sum = 0;
    for (const Sample& s : data.samples) {
        const double e = s.result - sigmoid(k, score_of(data, s, w).score);
        sum += e * e;
    }
    return sum / double(data.samples.size());
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

// The gradient of the mean squared error, added into g (middle then end, as the weights).
void gradient(const Data& data, const Weights& w, double k, Weights& g) {
    std::fill(g.middle.begin(), g.middle.end(), 0.0);
    std::fill(g.end.begin(), g.end.end(), 0.0);
    for (const Sample& s : data.samples) {
        const Scored sc = score_of(data, s, w);
        if (sc.zeroed) continue;
        const double p  = sigmoid(k, sc.score);
        const double d  = -2 * (s.result - p) * p * (1 - p) * k; // d error / d score
        const double dm = d * s.phase / FullPhase, de = d * (FullPhase - s.phase) / FullPhase;
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

// Adam over the weights that counted often enough; the others keep their values.
void fit(const Data& data, Weights& w, double k, int epochs, const std::vector<int>& uses) {
    const std::size_t n = WeightCount;
    Weights g{std::vector<double>(n), std::vector<double>(n)};
    std::vector<double> m1(2 * n), m2(2 * n);
    const auto start = std::chrono::steady_clock::now();
    for (int epoch = 1; epoch <= epochs; ++epoch) {
        gradient(data, w, k, g);
        for (std::size_t i = 0; i < 2 * n; ++i) {
            if (uses[i % n] < MinUses) continue;
            double& weight    = i < n ? w.middle[i] : w.end[i - n];
            const double grad = (i < n ? g.middle[i] : g.end[i - n]) / double(data.samples.size());
            m1[i]             = Beta1 * m1[i] + (1 - Beta1) * grad;
            m2[i]             = Beta2 * m2[i] + (1 - Beta2) * grad * grad;
            const double mh   = m1[i] / (1 - std::pow(Beta1, epoch));
            const double vh   = m2[i] / (1 - std::pow(Beta2, epoch));
            weight -= LearningRate * mh / (std::sqrt(vh) + 1e-12);
        }
        if (epoch % 50 == 0 || epoch == epochs)
            std::fprintf(
                stderr, "epoch %d: error %.6f (%.0f s)\n", epoch, mean_error(data, w, k),
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
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
            const std::size_t cut = line.find_last_of(' ');
            if (cut == std::string::npos) continue;
            const double white_result = std::atof(line.c_str() + cut + 1);
            new_game();
            if (!read_fen(line.substr(0, cut).c_str())) continue;
            strong_trace(*CurrentPosition, trace);
            add_sample(data, trace, CurrentPosition->blackToMove ? 1 - white_result : white_result);
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

// Moves the mean of each piece's square table (over the squares it can stand on) into its
// material value: the same scores, tables centred on zero.
void centre_tables(Weights& w) {
    for (int type = Pawn; type <= Queen; ++type) {
        const int table = weight(WeightGroupId(PawnTable + type - Pawn));
        const int first = type == Pawn ? 8 : 0, last = type == Pawn ? 56 : 64;
        for (auto* phase : {&w.middle, &w.end}) {
            double mean = 0;
            for (int sq = first; sq < last; ++sq) mean += (*phase)[table + sq];
            mean /= last - first;
            for (int sq = first; sq < last; ++sq) (*phase)[table + sq] -= mean;
            (*phase)[weight(MaterialGroup, type)] += mean;
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
    if (argc < 4) {
        std::fprintf(stderr, "usage: tuner OUT_HEADER EPOCHS DATA...\n");
        return 2;
    }
    const int epochs = std::atoi(argv[2]);
    Data data;
    std::vector<int> uses(WeightCount);
    if (!load(argc - 3, argv + 3, data, uses)) return 1;
    Weights w{{MiddleWeights, MiddleWeights + WeightCount}, {EndWeights, EndWeights + WeightCount}};
    const double k = fit_k(data, w), before = mean_error(data, w, k);
    std::fprintf(stderr, "K = %.6f, error %.6f\n", k, before);
    fit(data, w, k, epochs, uses);
    if (epochs > 0) centre_tables(w);
    const double after = mean_error(data, w, k);
    char provenance[200];
    std::snprintf(provenance, sizeof provenance,
                  "fitted to %zu positions of self-play,\n// K = %.5f, mean squared error %.5f "
                  "(%.5f before), %d epochs.",
                  data.samples.size(), k, after, before, epochs);
    std::fprintf(stderr, "error %.6f after centring\n", after);
    return write_header(argv[1], w,
                        epochs > 0 ? provenance
                                   : "the published tables and hand-set "
                                     "terms it began with.")
               ? 0
               : 1;
}
