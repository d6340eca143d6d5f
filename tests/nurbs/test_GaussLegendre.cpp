// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "YdNurbsLib/nurbs/YdNurbsHelper.h"

namespace {

// Legendre polynomial P_n(x) by the three-term recurrence.
double Legendre(int n, double x) {
    double p0 = 1.0;
    double p1 = x;
    if (n == 0) {
        return p0;
    }
    for (int k = 2; k <= n; ++k) {
        const double p2 = ((2 * k - 1) * x * p1 - (k - 1) * p0) / k;
        p0 = p1;
        p1 = p2;
    }
    return p1;
}

// Each tabled value is within 5e-13 of the true one (12 significant digits, all below 1).
constexpr double kRounding = 5e-13;

}  // namespace

TEST(GaussLegendre, OrderThreeGivesTheTwoPointRule) {
    std::vector<double> nodes;
    std::vector<double> weights;
    YdNurbsHelper::GetGaussWeightsAndKnots(3, nodes, weights);
    ASSERT_EQ(nodes.size(), 2u);
    ASSERT_EQ(weights.size(), 2u);
    EXPECT_EQ(nodes[0], -0.57735026919);
    EXPECT_EQ(nodes[1], 0.57735026919);
    EXPECT_EQ(weights[0], 1.0);
    EXPECT_EQ(weights[1], 1.0);
}

TEST(GaussLegendre, OrderSevenGivesTheFourPointRule) {
    std::vector<double> nodes;
    std::vector<double> weights;
    YdNurbsHelper::GetGaussWeightsAndKnots(7, nodes, weights);
    EXPECT_EQ(nodes, (std::vector<double>{-0.861136311594, -0.339981043585, 0.339981043585,
                                          0.861136311594}));
    EXPECT_EQ(weights, (std::vector<double>{0.347854845137, 0.652145154863, 0.652145154863,
                                            0.347854845137}));
}

TEST(GaussLegendre, OrderTwentyOneGivesElevenPoints) {
    std::vector<double> nodes;
    std::vector<double> weights;
    YdNurbsHelper::GetGaussWeightsAndKnots(21, nodes, weights);
    ASSERT_EQ(nodes.size(), 11u);
    ASSERT_EQ(weights.size(), 11u);
    EXPECT_EQ(nodes[5], 0.0);
    EXPECT_EQ(weights[5], 0.272925086778);
    EXPECT_EQ(nodes[0], -0.978228658146);
    EXPECT_EQ(nodes[10], 0.978228658146);
}

TEST(GaussLegendre, OrderTwentyTwoGivesTwelveZeros) {
    std::vector<double> nodes;
    std::vector<double> weights;
    YdNurbsHelper::GetGaussWeightsAndKnots(22, nodes, weights);
    EXPECT_EQ(nodes, std::vector<double>(12, 0.0));
    EXPECT_EQ(weights, std::vector<double>(12, 0.0));
}

TEST(GaussLegendre, WeightsOfEachRuleSumToTwo) {
    for (int order = 2; order <= 21; ++order) {
        std::vector<double> nodes;
        std::vector<double> weights;
        YdNurbsHelper::GetGaussWeightsAndKnots(order, nodes, weights);
        double sum = 0.0;
        for (double w : weights) {
            sum += w;
        }
        EXPECT_NEAR(sum, 2.0, kRounding * static_cast<double>(weights.size())) << "order " << order;
    }
}

TEST(GaussLegendre, OrderPicksTheRuleWithOrderOverTwoPlusOnePoints) {
    for (int order = 2; order <= 21; ++order) {
        std::vector<double> nodes;
        std::vector<double> weights;
        YdNurbsHelper::GetGaussWeightsAndKnots(order, nodes, weights);
        const size_t k = static_cast<size_t>(order / 2 + 1);
        ASSERT_EQ(nodes.size(), k) << "order " << order;
        ASSERT_EQ(weights.size(), k) << "order " << order;
        for (size_t i = 0; i < k; ++i) {
            EXPECT_GT(weights[i], 0.0) << "order " << order << ", entry " << i;
            if (i > 0) {
                EXPECT_GT(nodes[i], nodes[i - 1]) << "order " << order << ", entry " << i;
            }
            // Exact mirror images, centre exactly 0.
            EXPECT_EQ(nodes[i], -nodes[k - 1 - i]) << "order " << order << ", entry " << i;
            EXPECT_EQ(weights[i], weights[k - 1 - i]) << "order " << order << ", entry " << i;
        }
    }
}

TEST(GaussLegendre, NodesAreTheRootsOfTheLegendrePolynomial) {
    for (int k = 2; k <= 11; ++k) {
        std::vector<double> nodes;
        std::vector<double> weights;
        YdNurbsHelper::GetGaussWeightsAndKnots(2 * k - 2, nodes, weights);
        ASSERT_EQ(nodes.size(), static_cast<size_t>(k));
        for (double x : nodes) {
            // |P_k'| is at most k (k + 1) / 2 on [-1, 1].
            EXPECT_NEAR(Legendre(k, x), 0.0, 2 * kRounding * k * (k + 1) / 2.0)
                << k << " points, node " << x;
        }
    }
}

TEST(GaussLegendre, RulesIntegrateMonomialsExactlyUpToDegreeTwoNMinusOne) {
    for (int k = 2; k <= 11; ++k) {
        std::vector<double> nodes;
        std::vector<double> weights;
        YdNurbsHelper::GetGaussWeightsAndKnots(2 * k - 1, nodes, weights);
        ASSERT_EQ(nodes.size(), static_cast<size_t>(k));
        for (int e = 0; e <= 2 * k; ++e) {
            double q = 0.0;
            for (int i = 0; i < k; ++i) {
                q += weights[static_cast<size_t>(i)] * std::pow(nodes[static_cast<size_t>(i)], e);
            }
            const double exact = e % 2 == 1 ? 0.0 : 2.0 / (e + 1);
            if (e <= 2 * k - 1) {
                // Rounding of a node moves x^e by at most e * 5e-13, of a weight by 5e-13.
                EXPECT_NEAR(q, exact, 2.0 * kRounding * (e + 1) + 4.0 * kRounding * k)
                    << k << " points, x^" << e;
            } else {
                // One degree more is beyond the rule: it shows the rule has exactly k points.
                EXPECT_GT(std::fabs(q - exact), 1e-8) << k << " points, x^" << e;
            }
        }
    }
}

TEST(GaussLegendre, ResizeKeepsEntriesWhenNoRuleMatches) {
    std::vector<double> nodes(20, 7.0);
    std::vector<double> weights(3, 5.0);
    YdNurbsHelper::GetGaussWeightsAndKnots(25, nodes, weights);
    // 25 / 2 + 1 = 13 entries: the first three weights keep their old values, new ones are 0.
    EXPECT_EQ(nodes, std::vector<double>(13, 7.0));
    ASSERT_EQ(weights.size(), 13u);
    EXPECT_EQ(weights[2], 5.0);
    EXPECT_EQ(weights[3], 0.0);
}

TEST(GaussLegendre, LongerVectorsAreShrunkToTheRule) {
    std::vector<double> nodes(9, 7.0);
    std::vector<double> weights(9, 7.0);
    YdNurbsHelper::GetGaussWeightsAndKnots(4, nodes, weights);
    EXPECT_EQ(nodes, (std::vector<double>{-0.774596669241, 0.0, 0.774596669241}));
    EXPECT_EQ(weights, (std::vector<double>{0.555555555556, 0.888888888889, 0.555555555556}));
}

TEST(GaussLegendre, OrdersBelowTwoGiveTheTwoPointRule) {
    for (int order : {1, 0, -1, -100}) {
        std::vector<double> nodes;
        std::vector<double> weights;
        YdNurbsHelper::GetGaussWeightsAndKnots(order, nodes, weights);
        EXPECT_EQ(nodes, (std::vector<double>{-0.57735026919, 0.57735026919})) << "order " << order;
        EXPECT_EQ(weights, (std::vector<double>{1.0, 1.0})) << "order " << order;
    }
}

TEST(GaussLegendre, EveryRuleHasItsPublishedOutermostValues) {
    // Outermost abscissa and weight of the rules with 5 to 11 points, 12 significant digits.
    struct Row {
        int points;
        double node;
        double weight;
    };
    const Row rows[] = {
        {5, 0.906179845939, 0.236926885056},   {6, 0.932469514203, 0.171324492379},
        {7, 0.949107912343, 0.129484966169},   {8, 0.960289856498, 0.10122853629},
        {9, 0.968160239508, 0.0812743883616},  {10, 0.973906528517, 0.0666713443087},
        {11, 0.978228658146, 0.0556685671162},
    };
    for (const Row& r : rows) {
        std::vector<double> nodes;
        std::vector<double> weights;
        YdNurbsHelper::GetGaussWeightsAndKnots(2 * r.points - 1, nodes, weights);
        ASSERT_EQ(nodes.size(), static_cast<size_t>(r.points));
        EXPECT_EQ(nodes.back(), r.node) << r.points << " points";
        EXPECT_EQ(weights.back(), r.weight) << r.points << " points";
    }
}
