#pragma once
// Callbacks that an application hands to the SDK.

namespace Tavix {

/// A callable with one argument that can be cloned. Whoever clones it deletes the clone. Re-entrant.
template<class Arg>
class Callback1 {
public:
    virtual ~Callback1() = default;
    virtual void operator()(Arg argument) = 0;
    virtual Callback1* clone() const = 0;
};

/// Callback1 over a copyable function object or function pointer. Re-entrant.
template<class Arg, class Function>
class Function_Callback1 final : public Callback1<Arg> {
public:
    explicit Function_Callback1(Function function) : m_Function(function) {}
    void operator()(Arg argument) override { m_Function(argument); }
    Callback1<Arg>* clone() const override { return new Function_Callback1(*this); }

private:
    Function m_Function;
};

/// Callback1 over a borrowed object and a member function of it. Re-entrant.
template<class Arg, class Client>
class Member_Callback1 final : public Callback1<Arg> {
public:
    Member_Callback1(Client& client, void (Client::*member)(Arg)) : m_Client(&client), m_Member(member) {}
    void operator()(Arg argument) override { (m_Client->*m_Member)(argument); }
    Callback1<Arg>* clone() const override { return new Member_Callback1(*this); }

private:
    Client* m_Client; // borrowed
    void (Client::*m_Member)(Arg);
};

template<class Arg, class Function>
Function_Callback1<Arg, Function> MakeCallback(Function function) {
    return Function_Callback1<Arg, Function>(function);
}

} // namespace Tavix
