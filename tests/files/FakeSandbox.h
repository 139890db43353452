#pragma once

/// A program that links this looks to itself as if it ran in a sandbox while one of these lives.
class FakeSandbox {
public:
    FakeSandbox();
    ~FakeSandbox();
    FakeSandbox(const FakeSandbox &) = delete;
    FakeSandbox &operator=(const FakeSandbox &) = delete;
};
