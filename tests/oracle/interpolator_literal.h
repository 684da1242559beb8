// The interpolator written out step by step, with whole matrices and a general inverse: slow and easy to check.
// The shipped one is tested and measured against it.
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

namespace OrvaneOracle {

using Vector = std::vector<double>;
using Matrix = std::vector<Vector>;

inline Matrix Zeros(size_t rows, size_t columns) {
    return Matrix(rows, Vector(columns));
}

inline Matrix Transpose(const Matrix& m) {
    Matrix t = Zeros(m[0].size(), m.size());
    for (size_t i = 0; i < m.size(); i++) {
        for (size_t j = 0; j < m[i].size(); j++) t[j][i] = m[i][j];
    }
    return t;
}

inline Matrix Multiply(const Matrix& a, const Matrix& b) {
    Matrix product = Zeros(a.size(), b[0].size());
    for (size_t i = 0; i < a.size(); i++) {
        for (size_t k = 0; k < b.size(); k++) {
            for (size_t j = 0; j < b[k].size(); j++) product[i][j] += a[i][k] * b[k][j];
        }
    }
    return product;
}

inline Vector Multiply(const Matrix& m, const Vector& v) {
    Vector product(m.size());
    for (size_t i = 0; i < m.size(); i++) {
        for (size_t j = 0; j < v.size(); j++) product[i] += m[i][j] * v[j];
    }
    return product;
}

// Solves m x = b for several right sides by LU factorisation with row pivoting; false if a pivot is zero or no number.
inline bool SolveByLU(Matrix m, Matrix& sides) {
    const size_t n = m.size();
    for (size_t k = 0; k < n; k++) {
        size_t pivot = k;
        for (size_t i = k + 1; i < n; i++) {
            if (std::abs(m[i][k]) > std::abs(m[pivot][k])) pivot = i;
        }
        if (!(std::abs(m[pivot][k]) > 0) || !std::isfinite(m[pivot][k])) return false;
        std::swap(m[k], m[pivot]);
        std::swap(sides[k], sides[pivot]);
        for (size_t i = k + 1; i < n; i++) {
            const double factor = m[i][k] / m[k][k];
            for (size_t j = k; j < n; j++) m[i][j] -= factor * m[k][j];
            for (size_t j = 0; j < sides[i].size(); j++) sides[i][j] -= factor * sides[k][j];
        }
    }
    for (size_t k = n; k-- > 0;) {
        for (size_t j = 0; j < sides[k].size(); j++) {
            for (size_t i = k + 1; i < n; i++) sides[k][j] -= m[k][i] * sides[i][j];
            sides[k][j] /= m[k][k];
        }
    }
    return true;
}

inline bool Inverse(const Matrix& m, Matrix& inverse) {
    inverse = Zeros(m.size(), m.size());
    for (size_t i = 0; i < m.size(); i++) inverse[i][i] = 1;
    return SolveByLU(m, inverse);
}

// a[1] to a[degree]; a[0] is 1.
inline Vector Burg(const double* x, int length, int degree) {
    Vector f(x, x + length), b = f, a(degree + 1);
    a[0] = 1;
    for (int m = 1; m <= degree; m++) {
        double num = 0, den = 0;
        for (int i = m; i < length; i++) {
            num += f[i] * b[i - 1];
            den += f[i] * f[i] + b[i - 1] * b[i - 1];
        }
        const double k = den == 0 ? 0 : -2 * num / den;
        const Vector old = a;
        for (int i = 1; i < m; i++) a[i] = old[i] + k * old[m - i];
        a[m] = k;
        for (int i = length - 1; i >= m; i--) {
            const double forward = f[i];
            f[i] = forward + k * b[i - 1];
            b[i] = b[i - 1] + k * forward;
        }
    }
    return a;
}

inline double CurveControl(const Vector& d, int i) {
    const int n = static_cast<int>(d.size());
    if (i == 0 || i == n - 1) return d[i];
    if (i == 1)
        return 1.6077 * d[1] - 0.26794 * d[0] - 0.43062 * d[2] + 0.11483 * d[3] - 0.028708 * d[4] + 0.004785 * d[5];
    if (i == 2)
        return 0.07177 * d[0] - 0.43062 * d[1] + 1.7225 * d[2] - 0.45933 * d[3] + 0.11483 * d[4] - 0.019139 * d[5];
    if (i <= n - 4) return 0.1 * d[i - 2] - 0.45 * d[i - 1] + 1.7 * d[i] - 0.45 * d[i + 1] + 0.1 * d[i + 2];
    return CurveControl(Vector(d.rbegin(), d.rend()), n - 1 - i);
}

inline Vector Curve(const Vector& d, int steps) {
    const int n = static_cast<int>(d.size());
    Vector b, out;
    for (int i = 0; i < n; i++) b.push_back(CurveControl(d, i));
    for (int i = 1; i < n; i++) {
        const double p1 = 0.6667 * b[i - 1] + 0.3333 * b[i], p2 = 0.3333 * b[i - 1] + 0.6667 * b[i];
        const double c0 = 3 * d[i - 1], c1 = 3 * p1, c2 = 3 * p2;
        for (int k = 0; k < steps; k++) {
            const double t = static_cast<double>(k) / steps;
            out.push_back(k == 0
                              ? d[i - 1]
                              : d[i - 1] + (c1 - c0 + ((c0 - 6 * p1 + c2) + (c1 - d[i - 1] - c2 + d[i]) * t) * t) * t);
        }
    }
    return out;
}

using RemoveNeighbours = std::function<void(std::vector<double>& data, int gap_first, int gap_last, int n, int step)>;

// 0, 2 (held to full scale) or 5 (singular); `out` gets the gap, and a few samples more if it is decimated.
inline int Interpolate(const std::vector<float>& signal, int click_start, int click_end, int cross_fade, bool big_pop,
                       std::vector<float>& out, const RemoveNeighbours& remove_neighbours) {
    out.clear();
    const int siglen = static_cast<int>(signal.size()), n_bad = click_end - click_start + 1;
    const int dec = n_bad <= 60 ? 1 : n_bad <= 120 ? 2 : 3;
    int first = click_start / dec, last = (click_end + 1) / dec - 1;
    const int len = siglen / dec, p = cross_fade / dec;
    if (dec > 1) first += p, last -= p;
    const int n = last - first + 1;

    int order = big_pop ? 3 * n : 6 * n;
    order = std::max(order, 75);
    order = std::min(order, 240 / dec);
    order = std::max(order, 3 * n / 2);
    order = std::min(order, (len - n) / 4);
    order = std::min(order, 240);

    Vector v(len);
    for (int i = 0; i < first; i++) v[i] = signal[dec - 1 + i * dec];
    for (int i = last + 1; i < len; i++) v[i] = signal[dec * i];
    remove_neighbours(v, first, last, len, dec);

    const int k = std::min(order, 20);
    const double lo = 0.3 * k, hi = 10 * k;
    Vector a;
    const auto sum_of_first = [&] {
        double sum = 0;
        for (int i = 1; i <= k; i++) sum += std::abs(a[i]);
        return sum;
    };
    const double *after = v.data() + last + 1, *before = v.data();
    const int n_after = len - last - 1, n_before = first;
    a = Burg(after, n_after, order);
    if (sum_of_first() < lo) {
        if (n < order) a = Burg(after, n_after, order = n);
    } else if (sum_of_first() >= hi) {
        a = Burg(before, n_before, order);
        if (sum_of_first() < lo && n < order) a = Burg(before, n_before, order = n);
    }

    const int trim = (len - 2 * (order + n)) / 2;
    first -= trim, last -= trim;
    const int N = len - 2 * trim, rows = N - order;
    const Vector x(v.begin() + trim, v.begin() + trim + N);
    Matrix A = Zeros(rows, N), A_u = Zeros(rows, n);
    for (int r = 0; r < rows; r++) {
        for (int j = 0; j <= order; j++) A[r][r + j] = a[order - j];
        std::copy_n(A[r].begin() + first, n, A_u[r].begin());
    }
    const Matrix A_u_t = Transpose(A_u);
    const Vector b = Multiply(A, x);
    Matrix inverse;
    if (!Inverse(Multiply(A_u_t, A_u), inverse)) return 5;
    Vector u = Multiply(inverse, Multiply(A_u_t, b));
    for (double& value : u) value = -value;

    const auto hold = [](double value) { return std::max(-1.0, std::min(1.0, value)); };
    int result = 0;
    if (dec == 1) {
        for (double value : u) {
            out.push_back(static_cast<float>(hold(value)));
            if (hold(value) != value) result = 2;
        }
        return result;
    }

    Vector B(n + 40);
    for (int i = 0; i < n + 40; i++) {
        B[i] = i >= 20 && i < n + 20 ? hold(u[i - 20]) : signal[(trim + first - 20 + i) * dec];
    }
    Vector smooth = B;
    for (int i = 2; i < n + 38; i++) {
        if (i >= 20 && i < n + 20) continue;
        smooth[i] = 0.1 * B[i - 2] + 0.2 * B[i - 1] + 0.4 * B[i] + 0.2 * B[i + 1] + 0.1 * B[i + 2];
    }
    const Vector curve = Curve(Vector(smooth.begin() + 2, smooth.end() - 2), dec);

    int c = (18 - p) * dec, s = (first - p + trim) * dec;
    double w = 1;
    for (int i = 0; i < p * dec; i++, c++, s++, w -= 1.0 / (p * dec)) {
        out.push_back(static_cast<float>(hold((1 - w) * curve[c] + w * signal[s])));
    }
    for (int i = 0; i < n * dec; i++, c++, s++) {
        out.push_back(static_cast<float>(hold(curve[c])));
        if (hold(curve[c]) != curve[c]) result = 2;
    }
    for (int i = 0; i < p * dec; i++, c++, s++, w += 1.0 / (p * dec)) {
        const double value = (1 - w) * curve[c] + w * signal[s];
        out.push_back(static_cast<float>(hold(value)));
        if (hold(value) != value) result = 2;
    }
    for (int i = 0; i < dec; i++) out.push_back(signal[s++]);
    return result;
}

}  // namespace OrvaneOracle
