/* A module that was built against an older or a newer second table than the one that it meets. */
#include <orvane/exchange.h>

static const OrvaneExchange* exchange;

static PyObject* sizes(PyObject* self, PyObject* nothing) {
    (void)self, (void)nothing;
    return Py_BuildValue("nn", sizeof(OrvaneExchange), exchange->size);
}

static PyObject* count(PyObject* self, PyObject* object) {
    (void)self;
#ifdef newer
    if (ORVANE_EXCHANGE_HAS(exchange, countOf)) {
        return PyLong_FromLong(exchange->countOf(object));
    }
#endif
    const OrvaneLoan* loan = exchange->lend(object, 0);
    PyObject* result = loan == NULL ? NULL : PyLong_FromSize_t(loan->elementCount);
    exchange->giveBack(loan);
    return result;
}

static PyObject* require(PyObject* self, PyObject* nothing) {
    (void)self, (void)nothing;
#ifdef newer
    return ORVANE_EXCHANGE_REQUIRE(exchange, countOf) ? PyBool_FromLong(1) : NULL;
#else
    return ORVANE_EXCHANGE_REQUIRE(exchange, arrayFromOwnImpl) ? PyBool_FromLong(1) : NULL;
#endif
}

static PyMethodDef methods[] = {
    {"sizes", sizes, METH_NOARGS, NULL},
    {"count", count, METH_O, NULL},
    {"require", require, METH_NOARGS, NULL},
    {NULL, NULL, 0, NULL},
};

static struct PyModuleDef definition = {PyModuleDef_HEAD_INIT, "client", NULL, -1, methods, NULL, NULL, NULL, NULL};

PyMODINIT_FUNC PyInit_client(void) {
    exchange = Orvane_ImportExchange();
    return exchange == NULL ? NULL : PyModule_Create(&definition);
}
