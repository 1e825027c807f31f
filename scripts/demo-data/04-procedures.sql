-- Procedures of the demo shop.
CREATE PROCEDURE usp_add_customer(p_first varchar, p_last varchar, p_email varchar)
LANGUAGE sql AS $$
    INSERT INTO customers (first_name, last_name, email) VALUES (p_first, p_last, lower(p_email));
$$;

CREATE PROCEDURE usp_add_address(p_customer_id integer, p_kind char, p_street varchar, p_postcode varchar,
                                 p_city varchar)
LANGUAGE sql AS $$
    INSERT INTO addresses (customer_id, kind, street, postcode, city)
    VALUES (p_customer_id, p_kind, p_street, p_postcode, p_city);
$$;

CREATE PROCEDURE usp_create_order(p_customer_id integer, INOUT p_order_id integer DEFAULT NULL)
LANGUAGE plpgsql AS $$
BEGIN
    INSERT INTO orders (customer_id, employee_id)
    VALUES (p_customer_id, (SELECT employee_id FROM employees WHERE login = current_user))
    RETURNING order_id INTO p_order_id;
END;
$$;

CREATE PROCEDURE usp_add_order_item(p_order_id integer, p_product_id integer, p_quantity integer)
LANGUAGE plpgsql AS $$
DECLARE
    v_line integer;
BEGIN
    SELECT coalesce(max(line_no), 0) + 1 INTO v_line FROM order_items WHERE order_id = p_order_id;
    INSERT INTO order_items (order_id, line_no, product_id, quantity, unit_price)
    SELECT p_order_id, v_line, product_id, p_quantity, unit_price FROM products WHERE product_id = p_product_id;
END;
$$;

CREATE PROCEDURE usp_cancel_order(p_order_id integer)
LANGUAGE plpgsql AS $$
BEGIN
    UPDATE orders SET status = 'cancelled' WHERE order_id = p_order_id AND status = 'open';
    IF NOT FOUND THEN
        RAISE EXCEPTION 'Order % is not open', p_order_id;
    END IF;
END;
$$;

CREATE PROCEDURE usp_record_payment(p_order_id integer, p_amount numeric, p_method varchar)
LANGUAGE sql AS $$
    INSERT INTO payments (order_id, amount, method) VALUES (p_order_id, p_amount, p_method);
$$;

CREATE PROCEDURE usp_ship_order(p_order_id integer, p_warehouse_id integer, p_tracking varchar)
LANGUAGE plpgsql AS $$
BEGIN
    UPDATE stock s SET quantity = s.quantity - i.quantity
    FROM order_items i
    WHERE i.order_id = p_order_id AND s.product_id = i.product_id AND s.warehouse_id = p_warehouse_id;
    INSERT INTO shipments (order_id, warehouse_id, shipped_at, tracking_no)
    VALUES (p_order_id, p_warehouse_id, now(), p_tracking);
    UPDATE orders SET status = 'shipped' WHERE order_id = p_order_id;
END;
$$;

CREATE PROCEDURE usp_restock(p_warehouse_id integer, p_product_id integer, p_quantity integer)
LANGUAGE sql AS $$
    INSERT INTO stock (warehouse_id, product_id, quantity) VALUES (p_warehouse_id, p_product_id, p_quantity)
    ON CONFLICT (warehouse_id, product_id) DO UPDATE SET quantity = stock.quantity + excluded.quantity;
$$;

CREATE PROCEDURE usp_change_price(p_product_id integer, p_new_price numeric)
LANGUAGE sql AS $$
    UPDATE products SET unit_price = p_new_price WHERE product_id = p_product_id;
$$;

CREATE PROCEDURE usp_discontinue_product(p_product_id integer)
LANGUAGE plpgsql AS $$
BEGIN
    UPDATE products SET discontinued = true WHERE product_id = p_product_id;
    DELETE FROM stock WHERE product_id = p_product_id AND quantity = 0;
END;
$$;

CREATE PROCEDURE usp_purge_audit_log(p_keep_days integer DEFAULT 90)
LANGUAGE sql AS $$
    DELETE FROM audit_log WHERE logged_at < now() - make_interval(days => p_keep_days);
$$;

CREATE PROCEDURE usp_merge_customers(p_keep integer, p_drop integer)
LANGUAGE plpgsql AS $$
BEGIN
    UPDATE orders SET customer_id = p_keep WHERE customer_id = p_drop;
    UPDATE addresses SET customer_id = p_keep WHERE customer_id = p_drop;
    UPDATE customers SET loyalty_points = loyalty_points
        + (SELECT loyalty_points FROM customers WHERE customer_id = p_drop)
    WHERE customer_id = p_keep;
    DELETE FROM customers WHERE customer_id = p_drop;
END;
$$;
